#include "site/cSiteRetirement.h"

#include "lint/InputFile.h"
#include "plugins/ManifestRules.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace {

/// Of "NAME-VERSION", with the version in any form.
cPluginId versionOf(const QString& text)
{
    const QString version = text.section(QLatin1Char('-'), -1);
    const QString name = text.left(text.size() - version.size() - 1);
    return name.isEmpty() || !ManifestRules::versionReason(version).isEmpty() ? cPluginId()
                                                                              : cPluginId(name, cVersion(version));
}

cPluginId idOf(const cFeatureInstance& feature)
{
    return cPluginId(feature.name(), feature.version());
}

} // namespace

cSiteRetirement::cSiteRetirement(const cSitePlace& place, const QStringList& names, int days)
    : cSiteEditor(place, names.isEmpty() ? "tidied" : "retired"), m_names(names), m_until(m_now.addDays(days))
{
}

ExitCode cSiteRetirement::edit()
{
    if (!m_state.hasEntry())
        return fail(QStringLiteral("the site has no repository %1").arg(m_state.name()));
    for (const QString& name : m_names) {
        if (!retire(name))
            return ExitCode::Faults;
    }
    return m_edit.finish(QString()) ? ExitCode::Ok : fail(m_edit.errorString());
}

bool cSiteRetirement::retire(const QString& name)
{
    if (const Feature whole = m_edit.find(name))
        return retireFeature(whole);
    const cPluginId id = versionOf(name);
    const Feature offered = m_edit.find(id.name());
    if (offered && offered->version() == id.version())
        return goBack(offered);
    for (const Feature& earlier : m_edit.earlierOf(id.name())) {
        if (earlier->version() != id.version())
            continue;
        note(*earlier);
        m_edit.dropEarlier(earlier->name(), earlier->version());
        return true;
    }
    return failUnknown(name, id);
}

bool cSiteRetirement::failUnknown(const QString& name, const cPluginId& version)
{
    if (const cRetired* const retired = m_retired.find(m_state.entry(), version)) {
        return fail(QStringLiteral("%1 has been retired on %2")
                        .arg(version.toString(), retired->on.date().toString(Qt::ISODate))),
               false;
    }
    QStringList known;
    for (const Feature& feature : m_state.catalogue().features()) {
        for (const Feature& earlier : m_edit.earlierOf(feature->name()))
            known.append(idOf(*earlier).toString());
        known.append(idOf(*feature).toString());
    }
    return fail(QStringLiteral("the repository %1 knows no \"%2\"; there is %3")
                    .arg(m_state.name(), name,
                         known.isEmpty() ? QStringLiteral("nothing") : known.join(QLatin1String(", ")))),
           false;
}

bool cSiteRetirement::retireFeature(const Feature& offered)
{
    const QString& name = offered->name();
    if (name == QLatin1String("Core"))
        return fail(QStringLiteral("the feature \"Core\" cannot be retired: no suite starts without it")), false;
    if (offered->plugins().isEmpty())
        return fail(QStringLiteral("the feature \"%1\" has no plugins: there is nothing to retire").arg(name)), false;
    QStringList dependants;
    for (const Feature& other : m_edit.features()) {
        if (other->dependencies().contains(name) && !m_names.contains(other->name()))
            dependants.append(QLatin1Char('"') + other->name() + QLatin1Char('"'));
    }
    if (!dependants.isEmpty()) {
        return fail(QStringLiteral("%1 depend on \"%2\": retire them too, or publish versions of them that do not")
                        .arg(dependants.join(QLatin1String(", ")), name)),
               false;
    }
    const std::optional<cVersion> next = m_edit.versionAbove(*offered);
    if (!next)
        return fail(QStringLiteral("no version comes after %1").arg(idOf(*offered).toString())), false;
    const Feature empty = offered->copy(*next);
    empty->setDependencies({});
    empty->setNotes({});
    if (!m_edit.takeFeature(empty))
        return fail(m_edit.errorString()), false;
    for (const Feature& earlier : m_edit.earlierOf(name)) {
        note(*earlier);
        m_edit.dropEarlier(name, earlier->version());
    }
    return true;
}

bool cSiteRetirement::goBack(const Feature& offered)
{
    Feature before;
    for (const Feature& earlier : m_edit.earlierOf(offered->name())) {
        if (earlier->version() < offered->version() && (!before || before->version() < earlier->version()))
            before = earlier;
    }
    if (!before) {
        return fail(QStringLiteral("%1 cannot be retired: there is no version before it to go back to; publish a newer "
                                   "one, or retire the feature \"%2\"")
                        .arg(idOf(*offered).toString(), offered->name())),
               false;
    }
    if (!hasPackages(*before))
        return false;
    m_edit.withdraw(before);
    note(*offered);
    return true;
}

bool cSiteRetirement::hasPackages(const cFeatureInstance& feature)
{
    for (const cRepositoryEdit::Plugin& plugin : feature.plugins()) {
        const QString path = m_state.localPackage(*plugin);
        QByteArray bytes;
        if (path.isEmpty() && cSiteState::isRemote(*plugin))
            continue;
        if (!readKnownFile(path, plugin->hash(), &bytes)) {
            return fail(QStringLiteral("%1 cannot be offered again: the package of %2 is not in %3 any more")
                            .arg(idOf(feature).toString(), plugin->id().toString(), m_state.repositoryFolder())),
                   false;
        }
    }
    return true;
}

void cSiteRetirement::note(const cFeatureInstance& feature)
{
    cRetired retired{idOf(feature), m_state.entry().update, m_state.entry().status, m_now, m_until, {}};
    for (const cRepositoryEdit::Plugin& plugin : feature.plugins()) {
        const QString path = m_state.localPackage(*plugin);
        const QString file = path.isEmpty() ? QString() : QDir(m_state.folder()).relativeFilePath(path);
        retired.plugins.append({plugin->id(), plugin->hash(), file});
    }
    m_retired.add(retired);
}
