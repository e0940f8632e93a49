#pragma once

#include "common/ExitCode.h"
#include "report/cFindings.h"
#include "site/cRepositoryEdit.h"
#include "site/cSiteState.h"

#include <QtCore/QList>
#include <QtCore/QString>

#include <optional>

/**
 * Publishes a feature or a runtime on a site's folder. Whoever reads the site meanwhile, and whoever comes after a
 * crash, meets the old state or the new one: packages are put in place first, where nothing points to yet, then the
 * repository's description, then, if it is new, the site's. A run that was cut off can be repeated.
 */
class cSitePublisher
{
public:
    explicit cSitePublisher(const cSiteAddition& wanted) : m_wanted(wanted), m_edit(m_state, m_wanted) {}

    /// @return how it ended; errorString() and findings() say why.
    ExitCode run();

    QString errorString() const { return m_errorString; }
    const cFindings& findings() const { return m_findings; }

    /// What is published now, for people.
    QString summary() const;

private:
    ExitCode publish();
    bool readFiles();
    bool readPackage(const QString& path);
    bool readRuntime();
    bool isResultSound();
    cFindings findingsOf(const QByteArray& xml, bool withNewFiles) const;
    void sweepLeftovers();
    bool write();
    bool writeFile(const QString& path, const QByteArray& bytes);
    ExitCode fail(ExitCode code, const QString& reason);

    cSiteAddition m_wanted;
    cSiteState m_state;
    cRepositoryEdit m_edit;
    QList<cNewFile> m_packages;
    std::optional<cNewFile> m_runtime;
    cFindings m_findings;
    QString m_errorString;
};
