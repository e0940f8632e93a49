#include "site/cDeltaCheck.h"

#include "delta/cOldPackage.h"
#include "lint/InputFile.h"
#include "report/cFindings.h"
#include "site/cRepositoryEdit.h"
#include "version/Shown.h"

void cDeltaCheck::check(const cFeaturePlugin& plugin, const QString& repository)
{
    for (const cFeatureDelta& delta : plugin.deltas()) {
        const QUrl url = delta.source.url();
        QByteArray patch;
        if (m_seen.contains(url))
            continue;
        m_seen.insert(url);
        if (fetch(delta, repository, &patch))
            apply(plugin, delta, patch);
    }
}

bool cDeltaCheck::fetch(const cFeatureDelta& delta, const QString& repository, QByteArray* patch)
{
    const QString name = cSiteFetcher::nameOf(delta.source.url());
    if (!m_fetcher.fetch(delta.source.url(), LargestFile, patch)) {
        m_findings.add(Rule::SourceDead, repository,
                       QStringLiteral("%1 cannot be fetched: %2").arg(name, m_fetcher.errorString()));
        return false;
    }
    const QByteArray hash = sha1Of(*patch);
    if (patch->size() != qint64(delta.size)) {
        m_findings.add(Rule::SourceSize, name, cSiteFetcher::otherSize(patch->size(), delta.size));
    } else if (hash != delta.hash) {
        m_findings.add(Rule::SourceHash, name, cSiteFetcher::otherHash(hash, delta.hash));
    } else {
        return true;
    }
    return false;
}

// Patches are made from packages that lie where the first one of their version does.
void cDeltaCheck::apply(const cFeaturePlugin& plugin, const cFeatureDelta& delta, const QByteArray& patch)
{
    const cPluginId older(plugin.name(), delta.from);
    const QUrl url = delta.source.location->resolve(cRepositoryEdit::packagePlace(older));
    QByteArray bytes;
    cOldPackage old;
    if (!m_olderFetcher.fetch(url, LargestFile, &bytes) || !old.read(bytes)) {
        ++m_unapplied;
        return;
    }
    ++m_applied;
    const QString name = cSiteFetcher::nameOf(delta.source.url());
    QByteArray package;
    if (!old.rebuild(patch, plugin.size(), &package)) {
        m_findings.add(
            Rule::DeltaRebuild, name,
            QStringLiteral("with %1 it makes no package: %2").arg(cSiteFetcher::nameOf(url), old.errorString()));
    } else if (sha1Of(package) != plugin.hash()) {
        m_findings.add(Rule::DeltaRebuild, name,
                       QStringLiteral("with %1 it makes another package than that of %2")
                           .arg(cSiteFetcher::nameOf(url), plugin.id().toString()));
    }
}

QString cDeltaCheck::summary() const
{
    QString text;
    if (m_applied > 0)
        text = QStringLiteral("applied ") + counted(m_applied, "patch", "patches");
    if (m_unapplied > 0) {
        text += text.isEmpty() ? QString() : QStringLiteral(", ");
        text += QStringLiteral("%1 only in size and hash, for the older package is gone")
                    .arg(counted(m_unapplied, "patch", "patches"));
    }
    return text;
}
