#pragma once

#include "lint/cCatalogueLint.h"
#include "site/cPackageStore.h"
#include "site/cSiteFetcher.h"

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QUrl>

class cFeaturePlugin;
class cFindings;
class cSuite;
class cUpdateLocation;
struct cRuntimeEntry;

/// Fetches all that a site offers, each file once, and holds it against what the site says of it.
class cSiteCheck
{
public:
    cSiteCheck(const QUrl& site, cFindings& findings) : m_site(site), m_findings(findings), m_packages(m_fetcher) {}

    /// @return false when the site's description cannot be fetched; errorString() says why.
    [[nodiscard]] bool run();

    QString errorString() const { return m_errorString; }

    /// "2 repositories, 7 files" for people.
    QString summary() const;

private:
    void checkRepository(const cSiteLint::Entry& entry, const QString& site);
    void readCatalogue(const QByteArray& xml, const QUrl& content, const QString& name, const QString& expectedName);
    void checkPlugin(const cFeaturePlugin& plugin, const QString& repository, cSuite& suite);
    void comparePackage(const cFeaturePlugin& plugin, const cPackageStore::File& file, const QString& name);
    void checkRuntime(const cRuntimeEntry& runtime, const cUpdateLocation& location, const QString& repository);

    QUrl m_site;
    cFindings& m_findings;
    cSiteFetcher m_fetcher;
    cPackageStore m_packages;
    QSet<QUrl> m_repositories; // that have been looked at
    QString m_errorString;
};
