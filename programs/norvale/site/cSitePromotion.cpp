#include "site/cSitePromotion.h"

#include "lint/InputFile.h"

#include <QtCore/QUrl>

#include <algorithm>

ExitCode cSitePromotion::edit()
{
    if (!readSource())
        return ExitCode::Faults;
    QStringList names = m_names;
    if (names.isEmpty()) {
        for (const Feature& feature : m_source.catalogue().features())
            names.append(feature->name());
    }
    for (const QString& name : qAsConst(names)) {
        if (!promote(name))
            return m_findings.has(Rule::FileUnreadable) ? ExitCode::ReadFailed : ExitCode::Faults;
    }
    if (m_names.isEmpty() && !promoteRuntime())
        return ExitCode::Faults;
    return m_edit.finish(QString(), coreVersion()) ? ExitCode::Ok : fail(m_edit.errorString());
}

bool cSitePromotion::readSource()
{
    if (!m_source.read({m_place.site, m_state.entry().update, m_from}))
        return fail(m_source.errorString()), false;
    if (!m_source.hasEntry())
        return fail(QStringLiteral("the site has no repository %1").arg(m_source.name())), false;
    if (m_source.repositoryFolder() == m_state.repositoryFolder()) {
        return fail(QStringLiteral("%1 and %2 are one repository, in %3")
                        .arg(m_source.name(), m_state.name(), m_source.repositoryFolder())),
               false;
    }
    return true;
}

bool cSitePromotion::promote(const QString& name)
{
    const Feature offered = m_source.catalogue().find(name);
    if (!offered) {
        return fail(QStringLiteral("the repository %1 has no feature \"%2\"").arg(m_source.name(), name)), false;
    }
    const Feature old = m_edit.find(name);
    const Feature feature = offered->copy(offered->version());
    feature->setRepository(m_state.entry().update);
    if (old)
        feature->setNotes(cRepositoryEdit::mergedNotes(offered->notes(), old->notes()));
    for (const Plugin& plugin : offered->plugins()) {
        const Plugin here = pluginOf(*plugin);
        if (!here)
            return false;
        feature->addPlugin(here);
    }
    if (m_edit.takeFeature(feature))
        return true;
    const bool isOlder = old && feature->version() < old->version();
    return fail(m_edit.errorString() +
                (isOlder ? QStringLiteral(": name the features that are to be promoted") : QString())),
           false;
}

cSitePromotion::Plugin cSitePromotion::pluginOf(const cFeaturePlugin& plugin)
{
    Plugin& here = m_placed[plugin.id()];
    if (!here)
        here = publishedHere(plugin);
    if (here)
        return here;
    cNewFile package;
    if (!readSourcePackage(plugin, &package))
        return Plugin();
    if (!m_edit.placePackage(package)) {
        fail(m_edit.errorString());
        return Plugin();
    }
    m_deltas.take(plugin, m_source.repositoryFolder(), package);
    package.bytes.clear(); // one package at a time is in memory
    m_packages.append(package);
    here = m_edit.makePlugin(package);
    for (const cFeatureSource& source : plugin.sources()) {
        if (!QUrl(source.source).isRelative())
            here->addSource(source);
    }
    return here;
}

// What lies on a server of its own needs no copy.
cSitePromotion::Plugin cSitePromotion::publishedHere(const cFeaturePlugin& plugin) const
{
    if (cSiteState::isRemote(plugin)) {
        const Plugin same = cRepositoryEdit::plainPlugin(plugin);
        for (const cFeatureDelta& delta : plugin.deltas()) {
            if (!QUrl(delta.source.source).isRelative())
                same->addDelta(delta);
        }
        return same;
    }
    const Plugin published = m_edit.publishedPlugin(plugin.id());
    const bool isSame = published && published->hash() == plugin.hash();
    return isSame && !m_state.localPackage(*published).isEmpty() ? published : Plugin();
}

bool cSitePromotion::readSourcePackage(const cFeaturePlugin& plugin, cNewFile* package)
{
    const QString path = m_source.localPackage(plugin);
    if (path.isEmpty()) {
        return fail(QStringLiteral("the package of %1 is not in %2")
                        .arg(plugin.id().toString(), m_source.repositoryFolder())),
               false;
    }
    if (!readPackage(path, package))
        return false;
    if (package->hash != plugin.hash() || package->id != plugin.id()) {
        m_findings.add(
            Rule::PackageHash, path,
            QStringLiteral("it is not the package of %1 that the repository names").arg(plugin.id().toString()));
        return false;
    }
    return true;
}

bool cSitePromotion::promoteRuntime()
{
    const QList<cRuntimeEntry>& runtimes = m_source.catalogue().runtimes();
    if (runtimes.isEmpty())
        return true;
    const auto newest =
        std::max_element(runtimes.begin(), runtimes.end(),
                         [](const cRuntimeEntry& a, const cRuntimeEntry& b) { return a.version < b.version; });
    cNewFile file;
    file.path = m_source.repositoryFolder() + QLatin1Char('/') + newest->source;
    file.id = cPluginId(newest->name, newest->version);
    file.hash = newest->hash;
    if (!readInputFile(file.path, LargestFile, &file.bytes, m_findings))
        return false;
    if (sha1Of(file.bytes) != file.hash) {
        m_findings.add(Rule::SourceHash, file.path, QStringLiteral("it is not the file that the repository names"));
        return false;
    }
    if (!m_edit.takeRuntime(file))
        return fail(m_edit.errorString()), false;
    m_runtime = file;
    return true;
}

QString cSitePromotion::coreVersion() const
{
    const cFeatureCatalogue& source = m_source.catalogue();
    const bool isTold = m_names.isEmpty() && source.hasCoreVersion();
    return isTold && m_state.catalogue().coreVersion() < source.coreVersion() ? source.coreVersion().toString()
                                                                              : QString();
}
