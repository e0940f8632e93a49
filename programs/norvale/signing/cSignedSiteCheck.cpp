#include "signing/cSignedSiteCheck.h"

#include "config/cTrustDownload.h"
#include "config/cUpdateLocation.h"
#include "report/cFindings.h"
#include "signing/cDraft.h"
#include "signing/cSiteTargets.h"
#include "site/cSiteCheck.h"

void cSignedSiteCheck::begin()
{
    const QUrl folder = cUpdateLocation(m_site).resolve(QStringLiteral("tuf"));
    const QString name = cSiteFetcher::nameOf(folder);
    cDownloader downloader;
    cTrustDownload source(folder, downloader);
    QByteArray root;
    QString reason;
    const ITrustSource::Answer answer =
        source.fetch(QStringLiteral("1.root.json"), cTrustClient::RootLimit, root, reason);
    if (answer == ITrustSource::NotThere)
        return;
    if (answer == ITrustSource::Failed)
        return m_findings.add(Rule::TrustRefused, name + QStringLiteral("/1.root.json"), reason);
    if (!Cryptography::isAvailable())
        return m_findings.add(Rule::TrustRefused, name, Cryptography::description());
    m_client.emplace(m_folder.path());
    if (!m_client->trust(root) || !m_client->refresh(source)) {
        m_findings.add(Rule::TrustRefused, name, m_client->errorString());
        return m_client.reset();
    }
    const cTrustedSet& set = m_client->set();
    const cTrustMetadata* const targets = set.targets(QStringLiteral("targets"));
    for (const cTrustMetadata* const document : {set.root(), set.timestamp(), set.snapshot(), targets})
        noteExpiry(*document);
    for (const cTrustTarget& target : targets->targets())
        addTarget(target);
}

QList<QUrl> cSignedSiteCheck::missing() const
{
    QList<QUrl> urls;
    for (auto it = m_targets.begin(); it != m_targets.end(); ++it) {
        if (!m_seen.contains(it.key()))
            urls.append(it.key());
    }
    return urls;
}

// Of a description the copy has to be there, and what is at its plain name, for old clients, may be newer.
void cSignedSiteCheck::addTarget(const cTrustTarget& target)
{
    const QString path = cSiteTargets::isDescription(target.path)
                             ? cSiteTargets::copyOf(target.path, target.hashes.value(QStringLiteral("sha256")))
                             : target.path;
    m_targets.insert(cUpdateLocation(m_site).resolve(path), target);
}

void cSignedSiteCheck::noteExpiry(const cTrustMetadata& document)
{
    const int days = Expiry::daysOf(*m_client->set().root(), document.type());
    if (Expiry::renewalOf(document, days) > QDateTime::currentDateTimeUtc())
        return;
    m_findings.add(Rule::TrustExpiry, cSiteFetcher::nameOf(cUpdateLocation(m_site).resolve(QStringLiteral("tuf"))),
                   QStringLiteral("%1 %2 expires on %3")
                       .arg(cTrustMetadata::nameOf(document.type()))
                       .arg(document.version())
                       .arg(document.expires().toString(Qt::ISODate)));
}

void cSignedSiteCheck::look(const QUrl& url, const QByteArray& bytes)
{
    if (!m_client)
        return;
    const QString name = cSiteFetcher::nameOf(url);
    const auto target = m_targets.constFind(url);
    m_seen.insert(url);
    if (target != m_targets.constEnd()) {
        const QString fault = target->fault(bytes);
        if (!fault.isEmpty())
            m_findings.add(Rule::TrustTarget, name, QStringLiteral("it ") + fault);
        return;
    }
    const QByteArray sha256 = Cryptography::sha256(bytes);
    if (!m_client->findContent(sha256, bytes.size(), url.fileName())) {
        m_findings.add(
            Rule::SiteUnsigned, name,
            QStringLiteral("it is not signed as it is: installations that have pinned a root do not take it"));
    }
}
