#include "install/cPluginReplacement.h"

#include "config/cConfigurationMgr.h"
#include "core/Files.h"
#include "disk/WholeFiles.h"
#include "install/cCommandRunner.h"
#include "install/cInstallMgr.h"
#include "install/cInstallPlan.h"
#include "install/cPackage.h"
#include "install/cPackageCheck.h"
#include "install/cPackageTrust.h"
#include "install/cPluginFolders.h"
#include "install/cStartCheck.h"
#include "install/cVerification.h"
#include "plugins/ManifestRules.h"
#include "plugins/cPluginInstance.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

namespace {

QString pathInPlugins(const QString& name)
{
    return QDir(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder)).absoluteFilePath(name);
}

/// Why the disk does not keep what has been written; empty when it does.
QString flushPlugins()
{
    return flushNewFiles(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder))
               ? QString()
               : QStringLiteral("what was unpacked cannot be flushed to the disk: ") +
                     causeOfSystem(Corvane::velmiraFolderOrFile(Corvane::FeaturesFile));
}

} // namespace

bool isInstalledFrom(const cPluginId& id, const cPackage& package)
{
    cFileRecord record;
    if (!record.read() || !record.contains(id))
        record.set(id, filesIn(Corvane::pluginDir(id).absolutePath(), {}));
    return record.isFrom(id, package.files());
}

cPluginReplacement::cPluginReplacement(cInstallMgr& manager, cConfigurationMgr& configuration, const cLog& log)
    : m_manager(manager), m_configuration(configuration), m_log(log)
{
}

bool cPluginReplacement::isFor(const cFeatureCatalogue& installed, const cPluginId& id)
{
    const auto isOthers = [&](const QSharedPointer<cFeatureInstance>& feature) {
        return !feature->isDevelopment() && feature->findPlugin(id);
    };
    const auto development = installed.find(QString::fromLatin1(cFeatureInstance::DevelopmentName));
    const cFeatureCatalogue::Features& features = installed.features();
    return id.isSafe() && development && development->findPlugin(id) &&
           std::none_of(features.begin(), features.end(), isOthers) &&
           QFileInfo::exists(Corvane::pluginDir(id).absoluteFilePath(ManifestRules::FileName));
}

cInstallOutcome cPluginReplacement::run(const cPluginId& id, const QString& path, cPackageTrust& trust)
{
    cPackage package;
    cPackageCheck check;
    check.expect(id);
    const QString refused =
        check.checkFile(path, package) ? trust.refusal(package.bytes(), id.packageFileName()) : check.summary();
    if (!refused.isEmpty()) {
        leaveOut(QStringLiteral("its package %1 is refused: %2").arg(path, refused), check.isUnread());
    } else if (isInstalledFrom(id, package) &&
               cFileRecord::differenceIn(Corvane::pluginDir(id).absolutePath(), package.files()).isEmpty()) {
        m_outcome.result = cInstallOutcome::NothingToDo;
        m_outcome.reason = QStringLiteral("%1 is installed already, with the same contents").arg(id.toString());
        m_log.info().noquote() << m_outcome.reason << Qt::endl;
    } else {
        replace(id, package);
    }
    return m_outcome;
}

void cPluginReplacement::replace(const cPluginId& id, const cPackage& package)
{
    const QString from = pathInPlugins(cFolderSweep::ScratchName + QLatin1Char('/') + id.toString());
    QString reason = unpack(id, package, from);
    if (!reason.isEmpty())
        return leaveOut(reason, true);
    cInstallPlan plan(m_configuration.installed(), {}, {});
    reason = cStartCheck(plan).refusal(id, from);
    if (!reason.isEmpty())
        return leaveOut(reason);
    bool hasCommands = false;
    runCommands(id, IInstallMgr::OPERATION_UNINSTALL, &hasCommands);
    reason = swap(id, from);
    if (reason.isEmpty()) {
        runCommands(id, IInstallMgr::OPERATION_INSTALL, &hasCommands);
        reason = writeRecord(id, hasCommands);
    }
    if (!reason.isEmpty())
        return leaveOut(reason, true);
    m_log.info().noquote() << id.toString() << "is replaced by a package of the same version" << Qt::endl;
    m_outcome.result = cInstallOutcome::Complete;
    m_outcome.installed = m_outcome.removed = QStringList(id.toString());
}

QString cPluginReplacement::unpack(const cPluginId& id, const cPackage& package, const QString& folder)
{
    const cOperation announced(m_manager, IInstallMgr::OPERATION_EXTRACT, id);
    cFolderJournal journal;
    cFolderRemover remover;
    cPackageUnpacker unpacker(folder);
    // No folder is noted, for what is installed is not to go, however this run ends.
    if (!journal.note({}))
        return journal.errorString();
    if (!remover.remove(folder))
        return remover.errorString();
    if (!unpacker.unpack(package))
        return unpacker.errorString();
    m_files = unpacker.files();
    return flushPlugins();
}

/// Moves the plugin's folder away, and @p from into its place.
QString cPluginReplacement::swap(const cPluginId& id, const QString& from)
{
    const QString place = Corvane::pluginDir(id).absolutePath();
    const QString aside = pathInPlugins(cFolderSweep::ReplacedName);
    QString error;
    if (!makeFolder(aside, &error) || !moveFolder(place, aside + QLatin1Char('/') + id.toString(), &error) ||
        !moveFolder(from, place, &error))
        return error;
    return flushPlugins();
}

QString cPluginReplacement::writeRecord(const cPluginId& id, bool hasCommands)
{
    cFileRecord record;
    if (!record.read())
        m_log.warning().noquote() << "The record of installed files begins anew:" << record.errorString() << Qt::endl;
    record.set(id, hasCommands ? filesIn(Corvane::pluginDir(id).absolutePath(), m_files) : m_files);
    record.setPackaged(id, m_files);
    return record.write() ? QString() : record.errorString();
}

// With a record of its own: the plugin manager's would keep what the replaced manifest says.
void cPluginReplacement::runCommands(const cPluginId& id, IInstallMgr::OPERATION operation, bool* hasCommands)
{
    cPluginInstance plugin(id);
    plugin.setFolder(Corvane::pluginDir(id).absolutePath());
    cCommandRunner commands(m_manager, m_log);
    commands.run(plugin, operation);
    m_outcome.failedCommands += commands.errors();
    *hasCommands = !plugin.installCommandLines().isEmpty();
}

void cPluginReplacement::leaveOut(const QString& reason, bool isWorthRetrying)
{
    const QString name = QString::fromLatin1(cFeatureInstance::DevelopmentName);
    const cVersion version = m_configuration.installed().find(name)->version();
    m_log.error().noquote() << QStringLiteral("The feature \"%1\" %2 stays as it is:").arg(name, version.toString())
                            << reason << Qt::endl;
    m_outcome.result = cInstallOutcome::Incomplete;
    m_outcome.leftOut.append({name, version, reason, isWorthRetrying});
    m_outcome.hasDiskRefused = isWorthRetrying;
}
