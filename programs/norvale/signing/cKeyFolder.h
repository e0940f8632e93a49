#pragma once

#include "signing/cSigningKey.h"

#include <QtCore/QList>
#include <QtCore/QString>

#include <utility>

/**
 * A folder with keys that sign. Each lies in a file "ROLE-NUMBER.pem", of mode 0600; of one that is a command there is
 * the command line in "ROLE-NUMBER.command" and its public key in "ROLE-NUMBER.pub.pem". The names are for people: what
 * a key signs is said by the site's root.
 */
class cKeyFolder
{
public:
    /// A key, and the name of its file without what follows the point.
    struct Entry
    {
        QString name;
        cSigningKey key;
    };

    /// Takes back the keys that were added unless keep() has been called.
    ~cKeyFolder();

    /// Reads the folder at @p path, which may be absent. It must not lie in the folder @p site, which is published.
    [[nodiscard]] bool open(const QString& path, const QString& site);

    const QString& path() const { return m_path; }
    const QList<Entry>& entries() const { return m_entries; }
    /// The key of the id @p id; null when it is not here.
    const cSigningKey* find(const QString& id) const;
    /// The keys whose files are named after @p role.
    QList<cSigningKey> namedAfter(const QString& role) const;

    /// Writes @p key as the next one of @p role.
    [[nodiscard]] bool add(const QString& role, const cSigningKey& key);
    /// What has been added stays. The paths of the files.
    QStringList keep();

    QString errorString() const { return m_errorString; }

private:
    bool readKey(const QString& name);
    bool writeSecret(const QString& path, const QByteArray& bytes);
    bool fail(const QString& reason);

    QString m_path;
    QList<Entry> m_entries;
    QStringList m_made; // files and folders that were written
    QString m_errorString;
};
