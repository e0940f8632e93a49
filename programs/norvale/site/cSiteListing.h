#pragma once

#include "common/ExitCode.h"
#include "common/cStyledLine.h"
#include "config/cFeatureCatalogue.h"
#include "report/cFindings.h"
#include "site/cRetiredList.h"
#include "site/cSiteCheck.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

class cTextTable;

/// What a site offers, and, of one that is a folder of this machine, what it offered before and has retired.
class cSiteListing
{
public:
    explicit cSiteListing(const QUrl& site) : m_site(site) {}

    /// @return Unreachable when the site's description cannot be had, Faults when that of a repository cannot: then the
    /// others have been read.
    ExitCode run();

    QString errorString() const { return m_errorString; }
    const cFindings& findings() const { return m_findings; }

    /// A table with a row for each version of a feature.
    cStyledLines lines() const;
    QJsonObject json() const;

private:
    /// A version of a feature, and what has become of it.
    struct Version
    {
        QString state; // "offered", "earlier", "retired"
        cPluginId id;
        QStringList plugins;
        QSharedPointer<cFeatureInstance> feature; // null of one that is retired
        cRetired retired;                         // empty of others
    };
    struct Repository
    {
        cSiteEntry entry;
        cFeatureCatalogue catalogue;
        QList<Version> versions;
    };

    void readRepository(const cSiteEntry& entry);
    void addVersions(Repository& repository, const cFeatureCatalogue& earlier);
    static Version versionOf(const QSharedPointer<cFeatureInstance>& feature, const char* state);
    static QString pluginsText(const Version& version);
    static QString stateText(const Version& version);
    static QJsonObject json(const Version& version);
    static QJsonObject json(const Repository& repository);

    const QUrl m_site;
    cSiteFetcher m_fetcher;
    cRetiredList m_retired;
    QList<Repository> m_repositories;
    cFindings m_findings;
    QString m_errorString;
};
