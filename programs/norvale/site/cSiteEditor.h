#pragma once

#include "common/ExitCode.h"
#include "common/cStyledLine.h"
#include "report/cFindings.h"
#include "signing/cSiteSigner.h"
#include "site/cRepositoryEdit.h"
#include "site/cRetiredList.h"
#include "site/cSiteDeltas.h"
#include "site/cSiteFiles.h"
#include "site/cSiteState.h"

#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

/**
 * Changes one repository of a site's folder: the frame of all commands that do. Whoever reads the site meanwhile, and
 * whoever comes after a crash, meets the old state or the new one: packages and patches are put in place first, where
 * nothing points to yet, then what the site keeps for itself, then the repository's description, then, if it is new,
 * the site's, then what signs them. Last of all the packages go whose time is over. A run that was cut off can be
 * repeated; one that fails leaves nothing behind.
 */
class cSiteEditor
{
public:
    virtual ~cSiteEditor() = default;

    /// Where the keys lie that sign the new state in the same step; empty: where the environment says.
    void setKeys(const QString& folder) { m_keys = folder; }

    /// Does it, and tells in @p report what has been done, or why not. @return how it ended.
    ExitCode run(const cReport& report);

protected:
    /// @p verb is what lines() say of a change, as in "published in repository main (release) 1.00.000".
    cSiteEditor(const cSitePlace& place, const char* verb) : m_place(place), m_verb(verb) {}

    /// Changes m_edit, m_packages, m_deltas, m_runtime and m_retired; m_state has been read. Anything but Ok ends the
    /// run.
    virtual ExitCode edit() = 0;

    ExitCode fail(ExitCode code, const QString& reason);
    ExitCode fail(const QString& reason) { return fail(ExitCode::Faults, reason); }

    /// Reads and checks the package at @p path. What is wrong with it is in the findings.
    [[nodiscard]] bool readPackage(const QString& path, cNewFile* package);

    const cSitePlace m_place;
    cSiteState m_state;
    cRetiredList m_retired;
    cRepositoryEdit m_edit{m_state, m_retired};
    QList<cNewFile> m_packages; // with the place that m_edit gave them
    cSiteDeltas m_deltas{m_state, m_retired};
    std::optional<cNewFile> m_runtime;
    cFindings m_findings;

private:
    /// A feature that is offered in another version now.
    struct cChange
    {
        QString feature;
        QString before; // empty: it was not offered
        QString version;
    };

    ExitCode change();
    ExitCode changeRepository();
    QList<cChange> changes() const;
    cStyledLines lines() const;
    QJsonObject json() const;
    bool isResultSound();
    cFindings findingsOf(const QByteArray& xml, bool withNewFiles) const;
    void sweepLeftovers();
    bool write();
    ExitCode sign();
    bool writeNewFile(const cNewFile& file);
    void removeExpired();
    bool collectNamedFiles(QSet<QString>* files) const;

    const char* m_verb;
    cSiteFiles m_files;
    QString m_keys;
    cKeyFolder m_keyFolder;
    std::optional<cSiteSigner> m_signer;
    QString m_errorString;
};
