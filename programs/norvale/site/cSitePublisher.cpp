#include "site/cSitePublisher.h"

#include "lint/InputFile.h"
#include "version/cPluginId.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSet>

#include <algorithm>

cSitePublisher::cSitePublisher(const cSiteAddition& wanted) : cSiteEditor(wanted, "published"), m_wanted(wanted)
{
    if (m_wanted.mayReplace)
        m_edit.allowReplacing();
}

ExitCode cSitePublisher::edit()
{
    if (!readFiles())
        return m_findings.has(Rule::FileUnreadable) ? ExitCode::ReadFailed : ExitCode::Faults;
    if (!placePackages())
        return ExitCode::Faults;
    if (!m_wanted.feature.isEmpty() && (!editFeature() || !editSharedFeatures()))
        return ExitCode::Faults;
    if ((m_runtime && !m_edit.takeRuntime(*m_runtime)) ||
        !m_edit.finish(m_wanted.repositoryVersion, m_wanted.coreVersion))
        return fail(m_edit.errorString());
    return ExitCode::Ok;
}

bool cSitePublisher::readFiles()
{
    for (const QString& path : m_wanted.packages) {
        cNewFile file;
        if (!readPackage(path, &file))
            return false;
        m_packages.append(file);
    }
    return m_wanted.runtime.isEmpty() || readRuntime();
}

bool cSitePublisher::readRuntime()
{
    cNewFile file;
    file.path = m_wanted.runtime;
    file.id = cPluginId(QFileInfo(file.path).fileName(), cVersion(m_wanted.runtimeVersion));
    if (!readInputFile(file.path, LargestFile, &file.bytes, m_findings))
        return false;
    if (!isSafePackageName(file.id.name()))
        m_findings.add(Rule::RuntimeBadName, file.path, QStringLiteral("not every system can have this name"));
    file.hash = sha1Of(file.bytes);
    m_runtime = file;
    return !m_findings.hasErrors();
}

bool cSitePublisher::placePackages()
{
    QSet<QString> names;
    for (cNewFile& package : m_packages) {
        const QString name = package.id.name();
        if (names.contains(name))
            return fail(QStringLiteral("there are two packages of \"%1\"").arg(name)), false;
        names.insert(name);
        if (!m_edit.placePackage(package))
            return fail(m_edit.errorString()), false;
        m_deltas.make(package, m_wanted.deltas);
    }
    return true;
}

bool cSitePublisher::editFeature()
{
    const Feature feature = makeFeature();
    for (const cNewFile& package : qAsConst(m_packages))
        feature->addPlugin(m_edit.makePlugin(package));
    return m_edit.takeFeature(feature) || (fail(m_edit.errorString()), false);
}

cSitePublisher::Feature cSitePublisher::makeFeature() const
{
    const cVersion version(m_wanted.featureVersion);
    const QString repository = m_state.entry().update;
    const Feature old = m_edit.find(m_wanted.feature);
    const Feature feature = old ? old->copy(version) : Feature::create(m_wanted.feature, version, true, repository);
    feature->setActive(true);
    feature->setRepository(repository);
    for (auto it = m_wanted.displayNames.begin(); it != m_wanted.displayNames.end(); ++it)
        feature->setDisplayName(it.key(), it.value());
    if (m_wanted.dependencies)
        feature->setDependencies(*m_wanted.dependencies);
    QVector<cFeatureInstance::Note> notes;
    for (auto it = m_wanted.notes.begin(); it != m_wanted.notes.end(); ++it)
        notes.append({version, it.key(), it.value()});
    feature->setNotes(cRepositoryEdit::mergedNotes(notes, feature->notes()));
    return feature;
}

// A suite cannot have two versions of a plugin, so features that share one change together.
bool cSitePublisher::editSharedFeatures()
{
    for (auto it = m_wanted.shared.begin(); it != m_wanted.shared.end(); ++it) {
        const Feature old = m_edit.find(it.key());
        if (!old)
            return fail(QStringLiteral("there is no feature \"%1\" that could share plugins").arg(it.key())), false;
        const Feature feature = old->copy(cVersion(it.value()));
        feature->setActive(true);
        for (const cRepositoryEdit::Plugin& plugin : old->plugins()) {
            const auto package = std::find_if(m_packages.begin(), m_packages.end(),
                                              [&](const cNewFile& file) { return file.id.name() == plugin->name(); });
            feature->addPlugin(package == m_packages.end() ? plugin : m_edit.makePlugin(*package));
        }
        if (!m_edit.takeFeature(feature))
            return fail(m_edit.errorString()), false;
    }
    return true;
}
