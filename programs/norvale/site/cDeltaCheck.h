#pragma once

#include "config/cFeatureCatalogue.h"
#include "site/cSiteCheck.h"

#include <QtCore/QByteArray>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QUrl>

class cFindings;

/// Fetches the patches of a site and applies each: from the older package, which is to make the newer one.
class cDeltaCheck
{
public:
    /// Patches are fetched with @p fetcher.
    cDeltaCheck(cSiteFetcher& fetcher, cFindings& findings) : m_fetcher(fetcher), m_findings(findings) {}

    /// Those of @p plugin, which the description named @p repository offers.
    void check(const cFeaturePlugin& plugin, const QString& repository);

    /// What was done, for people; empty when there was no patch.
    QString summary() const;

private:
    bool fetch(const cFeatureDelta& delta, const QString& repository, QByteArray* patch);
    void apply(const cFeaturePlugin& plugin, const cFeatureDelta& delta, const QByteArray& patch);

    cSiteFetcher& m_fetcher;
    cSiteFetcher m_olderFetcher; // what is not offered any more need not be signed
    cFindings& m_findings;
    QSet<QUrl> m_seen; // features share plugins
    int m_applied = 0;
    int m_unapplied = 0; // for want of the older package
};
