#include "site/cSiteCheck.h"

#include "config/cCatalogueReader.h"
#include "lint/InputFile.h"
#include "lint/cPackageLint.h"
#include "report/cFindings.h"
#include "signing/cSignedSiteCheck.h"
#include "site/cDeltaCheck.h"
#include "suite/cSuite.h"
#include "version/Shown.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

QUrl cSiteFetcher::siteUrl(const QString& place)
{
    QString text = QDir::fromNativeSeparators(place);
    if (text.endsWith(QLatin1String("/site.xml")))
        text.chop(int(qstrlen("/site.xml")));
    if (text.contains(QLatin1String("://")))
        return QUrl(text);
    return QUrl::fromLocalFile(QFileInfo(text).absoluteFilePath());
}

QString cSiteFetcher::nameOf(const QUrl& url)
{
    return url.isLocalFile() ? url.toLocalFile() : url.toString();
}

QString cSiteFetcher::otherSize(qint64 size, qint64 stated)
{
    return QStringLiteral("%1, but the repository says %2").arg(counted(size, "byte")).arg(stated);
}

QString cSiteFetcher::otherHash(const QByteArray& hash, const QByteArray& stated)
{
    return QStringLiteral("the hash is %1, but the repository says %2")
        .arg(QString::fromLatin1(hash.toHex()), QString::fromLatin1(stated.toHex()));
}

bool cSiteFetcher::fetch(const QUrl& url, qint64 limit, QByteArray* bytes)
{
    m_downloader.setSizeLimit(limit);
    if (!m_downloader.download(url))
        return false;
    *bytes = m_downloader.data();
    if (m_check)
        m_check->look(url, *bytes);
    return true;
}

const cPackageStore::File& cPackageStore::package(const QUrl& url, cFindings& findings)
{
    const auto known = m_files.constFind(url);
    if (known != m_files.constEnd())
        return *known;
    File& file = m_files[url];
    QByteArray bytes;
    if (!fetch(url, &bytes, file))
        return file;
    cPackageLint lint(cSiteFetcher::nameOf(url), findings);
    if (lint.check(bytes))
        file.plugin = cPluginId(lint.name(), lint.version());
    file.manifest = lint.manifest();
    file.qtMajors = lint.qtMajors();
    return file;
}

const cPackageStore::File& cPackageStore::file(const QUrl& url)
{
    const auto known = m_files.constFind(url);
    if (known != m_files.constEnd())
        return *known;
    File& file = m_files[url];
    QByteArray bytes;
    (void)fetch(url, &bytes, file);
    return file;
}

bool cPackageStore::fetch(const QUrl& url, QByteArray* bytes, File& file)
{
    file.isThere = m_fetcher.fetch(url, LargestFile, bytes);
    if (!file.isThere) {
        file.reason = m_fetcher.errorString();
        return false;
    }
    file.size = bytes->size();
    file.hash = sha1Of(*bytes);
    return true;
}

cSiteCheck::cSiteCheck(const QUrl& site, cFindings& findings)
    : m_site(site)
    , m_findings(findings)
    , m_packages(m_fetcher)
    , m_deltas(std::make_unique<cDeltaCheck>(m_fetcher, m_findings))
{
}

cSiteCheck::~cSiteCheck() = default;

bool cSiteCheck::run()
{
    const QUrl url = cUpdateLocation(m_site).resolve(QStringLiteral("site.xml"));
    const QString name = cSiteFetcher::nameOf(url);
    QByteArray xml;
    cSignedSiteCheck check(m_site, m_findings);
    check.begin();
    m_fetcher.setCheck(&check);
    if (!m_fetcher.fetch(url, LargestDocument, &xml)) {
        m_errorString = QStringLiteral("%1 cannot be fetched: %2").arg(name, m_fetcher.errorString());
        return false;
    }
    cSiteLint lint(name, m_findings);
    if (lint.check(xml)) {
        for (const cSiteLint::Entry& entry : lint.entries())
            checkRepository(entry, name);
    }
    checkSigned(check);
    return true;
}

void cSiteCheck::checkSigned(cSignedSiteCheck& check)
{
    for (const QUrl& url : check.missing()) {
        QByteArray bytes;
        if (!m_fetcher.fetch(url, LargestFile, &bytes)) {
            m_findings.add(Rule::TrustTarget, cSiteFetcher::nameOf(url),
                           QStringLiteral("it cannot be fetched: ") + m_fetcher.errorString());
        }
    }
    m_fetcher.setCheck(nullptr);
}

QString cSiteCheck::summary() const
{
    const QString fetched = QStringLiteral("fetched %1 and %2")
                                .arg(counted(m_repositories.size(), "repository", "repositories"),
                                     counted(m_packages.count(), "further file"));
    const QString deltas = m_deltas->summary();
    return deltas.isEmpty() ? fetched : fetched + QStringLiteral("; ") + deltas;
}

void cSiteCheck::checkRepository(const cSiteLint::Entry& entry, const QString& site)
{
    const QUrl content = cUpdateLocation(m_site).resolve(entry.content);
    if (m_repositories.contains(content))
        return;
    m_repositories.insert(content);
    const QUrl url = cUpdateLocation(content).resolve(QStringLiteral("repository.xml"));
    const QString name = cSiteFetcher::nameOf(url);
    QByteArray xml;
    if (!m_fetcher.fetch(url, LargestDocument, &xml)) {
        return m_findings.add({Rule::SiteNoRepository, site, entry.line, entry.column,
                               QStringLiteral("%1 cannot be fetched: %2").arg(name, m_fetcher.errorString())});
    }
    cCatalogueLint lint(cCatalogueLint::Kind::Repository, name, m_findings);
    if (lint.check(xml))
        readCatalogue(xml, content, name, entry.update);
}

void cSiteCheck::readCatalogue(const QByteArray& xml, const QUrl& content, const QString& name,
                               const QString& expectedName)
{
    const auto location = QSharedPointer<cUpdateLocation>::create(content);
    cSuite suite;
    cCatalogueReader reader(suite.catalogue(), location);
    if (!reader.read(xml))
        return m_findings.add(Rule::XmlMalformed, name, reader.errorString());
    if (suite.catalogue().name() != expectedName) {
        m_findings.add(Rule::SiteOtherName, name,
                       QStringLiteral("the repository is named \"%1\", the site names it \"%2\"")
                           .arg(suite.catalogue().name(), expectedName));
    }
    for (const QSharedPointer<cFeatureInstance>& feature : suite.catalogue().features()) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins())
            checkPlugin(*plugin, name, suite);
    }
    for (const cRuntimeEntry& runtime : suite.catalogue().runtimes())
        checkRuntime(runtime, *location, name);
    suite.check(name, m_findings);
    suite.checkReach(name, m_findings);
}

void cSiteCheck::checkPlugin(const cFeaturePlugin& plugin, const QString& repository, cSuite& suite)
{
    QStringList dead;
    for (const cFeatureSource& source : plugin.sources()) {
        const QUrl url = source.url();
        const cPackageStore::File& file = m_packages.package(url, m_findings);
        const QString name = cSiteFetcher::nameOf(url);
        if (!file.isThere) {
            dead.append(QStringLiteral("%1 cannot be fetched: %2").arg(name, file.reason));
            continue;
        }
        comparePackage(plugin, file, name);
        if (file.manifest)
            suite.add(plugin.id(), *file.manifest, file.qtMajors);
    }
    m_deltas->check(plugin, repository);
    // The catalogue's own check tells of a plugin without sources.
    const Rule rule = dead.size() == plugin.sources().size() ? Rule::SourceUnreachable : Rule::SourceDead;
    for (const QString& reason : dead)
        m_findings.add(rule, repository, reason);
}

void cSiteCheck::comparePackage(const cFeaturePlugin& plugin, const cPackageStore::File& file, const QString& name)
{
    if (file.plugin && *file.plugin != plugin.id()) {
        m_findings.add(Rule::PackageIdentity, name,
                       QStringLiteral("the package is that of %1, not of %2")
                           .arg(file.plugin->toString(), plugin.id().toString()));
    }
    if (plugin.size() > 0 && file.size != plugin.size()) {
        m_findings.add(Rule::SourceSize, name, cSiteFetcher::otherSize(file.size, plugin.size()));
    }
    if (!plugin.hash().isEmpty() && file.hash != plugin.hash()) {
        m_findings.add(Rule::PackageHash, name, cSiteFetcher::otherHash(file.hash, plugin.hash()));
    }
}

void cSiteCheck::checkRuntime(const cRuntimeEntry& runtime, const cUpdateLocation& location, const QString& repository)
{
    if (runtime.source.isEmpty())
        return;
    const QUrl url = location.resolve(runtime.source);
    const cPackageStore::File& file = m_packages.file(url);
    const QString name = cSiteFetcher::nameOf(url);
    if (!file.isThere) {
        m_findings.add(Rule::SourceUnreachable, repository,
                       QStringLiteral("%1 cannot be fetched: %2").arg(name, file.reason));
    } else if (file.hash != runtime.hash) {
        m_findings.add(Rule::SourceHash, name, cSiteFetcher::otherHash(file.hash, runtime.hash));
    }
}
