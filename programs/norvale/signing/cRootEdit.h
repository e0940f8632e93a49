#pragma once

#include "signing/cDraft.h"
#include "signing/cKeyFolder.h"

#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <optional>

/// What a command line asks of the roles of a root, each as it is written there.
struct cRolesWanted
{
    QStringList thresholds; // "ROLE=M:N"
    QStringList days;       // "ROLE=DAYS"
    QStringList keys;       // "ROLE=FILE" or "ROLE=command:COMMAND"
    QStringList publicKeys; // "ROLE=FILE", for the commands of the role in their order
};

/**
 * Makes a site's first root, and the next one when keys are replaced. New keys are added to the folder of keys; they
 * are not kept there before its keep().
 */
class cRootEdit
{
public:
    explicit cRootEdit(cKeyFolder& folder) : m_folder(folder) {}

    /// The first root: of the keys that the folder has for each role, and of new ones where these are too few.
    [[nodiscard]] std::optional<cDraft> first(const cRolesWanted& wanted);

    /// The root after @p root: keys of @p role that begin with one of the words @p old, or all where there are none,
    /// give way to new ones.
    [[nodiscard]] std::optional<cDraft> rotated(const cTrustMetadata& root, const QString& role, const QStringList& old,
                                                const cRolesWanted& wanted);

    /// Whether the last failure is one of the command line.
    bool isUsageError() const { return m_isUsageError; }
    QString errorString() const { return m_errorString; }

private:
    struct Role
    {
        QList<cTrustKey> keys;
        int threshold = 1;
        int count = 1; // of keys that there are to be
        int days = 0;
    };

    bool readWishes(const cRolesWanted& wanted);
    bool readThreshold(const QString& role, const QString& value);
    bool readDays(const QString& role, const QString& value);
    bool completeRoles(const cRolesWanted& wanted);
    bool addGivenKeys(const QString& role, const cRolesWanted& wanted);
    bool addGivenKey(const QString& role, const QString& given, const QString& publicFile);
    bool addCommand(const QString& role, const QString& command, const QString& publicFile);
    bool completeWithNewKeys(const QString& role);
    void append(const QString& role, const cTrustKey& key);
    bool take(const QString& role, const cSigningKey& key);
    QJsonObject content() const;
    bool fail(const QString& reason);
    bool failUsage(const QString& reason);

    cKeyFolder& m_folder;
    QMap<QString, Role> m_roles;
    bool m_isUsageError = false;
    QString m_errorString;
};
