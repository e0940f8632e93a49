#include "install/cUnpacking.h"

#include "core/Files.h"
#include "install/cInstallMgr.h"
#include "install/cPackage.h"
#include "install/cPackageCheck.h"
#include "install/cPackageTrust.h"
#include "install/cPluginFolders.h"
#include "install/cPluginReplacement.h"
#include "plugins/cPluginMgr.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QUrl>

cPackageSource::cPackageSource(const QString& path, Kind kind)
    : m_path(path), m_folder(QFileInfo(path).absolutePath()), m_kind(kind)
{
}

QString cPackageSource::find(const cFeaturePlugin& plugin) const
{
    const QString beside = besideDescription(plugin.id());
    if (m_kind != SinglePackage && QFileInfo(beside).isFile())
        return beside;
    const auto here = QSharedPointer<cUpdateLocation>::create(QUrl::fromLocalFile(m_folder));
    for (cFeatureSource source : plugin.sources()) {
        if (!source.location)
            source.location = here;
        const QString path = source.url().toLocalFile();
        if (QFileInfo(path).isFile())
            return path;
    }
    return QString();
}

QString cPackageSource::besideDescription(const cPluginId& id) const
{
    return QDir(m_folder).absoluteFilePath(id.packageFileName());
}

void consumeFile(const QString& path, const cLog& log)
{
    QFile file(path);
    if (file.exists() && !file.remove())
        log.warning().noquote() << path << "is installed, but cannot be deleted:" << file.errorString() << Qt::endl;
}

cUnpacking::cUnpacking(cInstallMgr& manager, cPluginMgr& plugins, const cLog& log, const cPackageSource& source,
                       cPackageTrust& trust, cInstallPlan& plan)
    : m_manager(manager), m_plugins(plugins), m_log(log), m_source(source), m_trust(trust), m_plan(plan)
{
    for (const cPluginId& id : plan.present())
        m_occupants.insert(id.caselessKey(), id);
}

void cUnpacking::run()
{
    for (int i = 0; i < m_plan.features().size(); ++i) {
        if (!m_plan.features().at(i).isLeftOut())
            unpackFeature(i);
    }
    if (m_plan.added().isEmpty() || flushNewFiles(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder)))
        return;
    const QString cause = causeOfSystem(Corvane::velmiraFolderOrFile(Corvane::FeaturesFile));
    for (int i = 0; i < m_plan.features().size(); ++i) {
        if (!m_plan.features().at(i).isLeftOut())
            m_plan.leaveOut(i, {QStringLiteral("what was unpacked cannot be flushed to the disk: ") + cause, true});
    }
}

void cUnpacking::unpackFeature(int index)
{
    for (const QSharedPointer<cFeaturePlugin>& plugin : m_plan.features().at(index).record->plugins()) {
        const cPluginId id = plugin->id();
        if (!m_outcomes.contains(id))
            m_outcomes.insert(id, unpack(*plugin));
        const Reason reason = m_outcomes.value(id);
        if (!reason.isEmpty()) {
            m_plan.leaveOut(index, reason);
            return;
        }
    }
}

cUnpacking::Reason cUnpacking::unpack(const cFeaturePlugin& plugin)
{
    const cPluginId id = plugin.id();
    if (!id.isSafe())
        return {QStringLiteral("the plugin name \"%1\" cannot name a folder").arg(id.name())};
    if (m_plan.isPresent(id))
        return differing(plugin);
    const cPluginId occupant = m_occupants.value(id.caselessKey(), id);
    if (occupant != id)
        return {QStringLiteral("the plugin %1 would have the folder of %2").arg(id.toString(), occupant.toString())};
    const QString path = m_source.find(plugin);
    if (path.isEmpty())
        return {QStringLiteral("its package %1 is not there").arg(id.packageFileName())};
    cPackage package;
    const Reason refused = verify(plugin, path, package);
    return refused.isEmpty() ? write(id, package) : refused;
}

/// Why the package of a plugin that is there cannot be had: it has other contents under the same version. What an
/// update fetches has none for plugins that are there.
cUnpacking::Reason cUnpacking::differing(const cFeaturePlugin& plugin) const
{
    const QString path = m_source.isConsumed() ? QString() : m_source.find(plugin);
    cPackage package;
    cPackageCheck check;
    check.expect(plugin.id());
    if (path.isEmpty() || !check.checkFile(path, package) || isInstalledFrom(plugin.id(), package))
        return {};
    return {QStringLiteral("%1 is installed already and this package differs from it: %2; give it another version, or "
                           "uninstall first")
                .arg(plugin.id().toString(), path)};
}

cUnpacking::Reason cUnpacking::verify(const cFeaturePlugin& plugin, const QString& path, cPackage& package)
{
    if (!plugin.hashFault().isEmpty())
        return {QStringLiteral("its package %1 is refused: %2").arg(path, plugin.hashFault())};
    cPackageCheck check;
    check.expect(plugin.id());
    check.expectHash(plugin.hash());
    if (check.checkFile(path, package)) {
        const QString reason = m_trust.refusal(package.bytes(), plugin.id().packageFileName());
        return {reason.isEmpty() ? reason : QStringLiteral("its package %1 is refused: %2").arg(path, reason)};
    }
    if (m_source.isConsumed() && !check.isUnread() && path == m_source.besideDescription(plugin.id()))
        consumeFile(path, m_log);
    return {QStringLiteral("its package %1 is refused: %2").arg(path, check.summary()), check.isUnread()};
}

cUnpacking::Reason cUnpacking::write(const cPluginId& id, const cPackage& package)
{
    const cOperation announced(m_manager, IInstallMgr::OPERATION_EXTRACT, id);
    const QString folder = Corvane::pluginDir(id).absolutePath();
    cFolderRemover remover;
    if (!remover.remove(folder))
        return {remover.errorString(), true};
    cPackageUnpacker unpacker(folder);
    if (unpacker.unpack(package)) {
        m_occupants.insert(id.caselessKey(), id);
        m_files.insert(id, unpacker.files());
        m_plugins.findOrMake(id);
        return {};
    }
    // Room is made for the features that follow; what cannot be removed now is noted in the journal.
    (void)remover.remove(folder);
    return {unpacker.errorString(), true};
}
