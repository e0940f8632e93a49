#include "install/cRepair.h"

#include "config/cCatalogueReader.h"
#include "config/cConfigurationMgr.h"
#include "config/cDownloader.h"
#include "config/cTrustedSite.h"
#include "config/cUpdateMgr.h"
#include "core/Files.h"
#include "core/Settings.h"
#include "disk/WholeFiles.h"
#include "install/cCommandRunner.h"
#include "install/cInstallMgr.h"
#include "install/cInstallPlan.h"
#include "install/cPackage.h"
#include "install/cPackageCheck.h"
#include "install/cPluginFolders.h"
#include "install/cRepositorySettings.h"
#include "install/cUnpacking.h"
#include "plugins/ManifestRules.h"
#include "plugins/cPluginMgr.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace {

/// Where packages are fetched to and unpacked; no plugin can have that folder, for it ends in no version.
QString scratchFolder()
{
    return QDir(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder)).absoluteFilePath(cFolderSweep::ScratchName);
}

QSharedPointer<cFeaturePlugin> findIn(const cFeatureCatalogue& catalogue, const cPluginId& id)
{
    for (const QSharedPointer<cFeatureInstance>& feature : catalogue.features()) {
        if (const QSharedPointer<cFeaturePlugin> plugin = feature->findPlugin(id))
            return plugin;
    }
    return {};
}

/// "version 2.00.000 of it", for a repository that has moved on.
QString otherVersionIn(const cFeatureCatalogue& catalogue, const QString& name)
{
    for (const QSharedPointer<cFeatureInstance>& feature : catalogue.features()) {
        if (const QSharedPointer<cFeaturePlugin> plugin = feature->findPlugin(name))
            return QStringLiteral("only has version %1 of it").arg(plugin->version().toString());
    }
    return QStringLiteral("does not have it");
}

/// Moves the file @p from to @p name in @p folder, over what is there. The reason why not; empty when it is done. No
/// link leads it out of the folder.
QString moveInto(const QDir& folder, const QString& name, const QString& from)
{
    QString way = folder.absolutePath();
    for (const QString& step : name.split(QLatin1Char('/'))) {
        if (QFileInfo(way).isSymLink())
            return QStringLiteral("%1 is a link").arg(way);
        way += QLatin1Char('/') + step;
    }
    const QString parent = QFileInfo(way).absolutePath();
    QString error;
    return makeFolder(parent, &error) && moveOver(from, way, &error) ? QString() : error;
}

} // namespace

cRepairSource::cRepairSource(cConfigurationMgr& configuration, const cLog& log, const QString& scratch)
    : m_configuration(configuration)
    , m_scratch(scratch)
    , m_trust(Corvane::velmiraFolderOrFile(Corvane::BootstrapRepositoryFile), false, log)
{
}

bool cRepairSource::get(const cPluginId& id, cPackage& package, QString* reason)
{
    QString localReason;
    if (getLocal(id, package, &localReason) || getRemote(id, package, reason))
        return true;
    if (!localReason.isEmpty())
        *reason += QStringLiteral("; ") + localReason;
    return false;
}

bool cRepairSource::getLocal(const cPluginId& id, cPackage& package, QString* reason)
{
    const QString path = Corvane::velmiraFolderOrFile(Corvane::BootstrapRepositoryFile);
    QByteArray xml;
    cFeatureCatalogue local;
    if (isAbsent(path))
        return false;
    if (!readFile(path, xml, reason) || !cCatalogueReader(local).read(xml)) {
        *reason = QStringLiteral("%1 cannot be read").arg(path);
        return false;
    }
    const QSharedPointer<cFeaturePlugin> plugin = findIn(local, id);
    const QString file = plugin ? cPackageSource(path, cPackageSource::Kept).find(*plugin) : QString();
    if (file.isEmpty())
        return false;
    const QString refused = read(*plugin, file, package);
    if (refused.isEmpty())
        return true;
    *reason = QStringLiteral("%1 is refused: %2").arg(file, refused);
    return false;
}

/// Reads the package from @p file. @return why it is refused; empty when it is not.
QString cRepairSource::read(const cFeaturePlugin& plugin, const QString& file, cPackage& package)
{
    cPackageCheck check;
    check.expect(plugin.id());
    check.expectHash(plugin.hash());
    return check.checkFile(file, package) ? m_trust.refusal(package.bytes(), plugin.id().packageFileName())
                                          : check.summary();
}

bool cRepairSource::getRemote(const cPluginId& id, cPackage& package, QString* reason)
{
    const cFeatureCatalogue& repository = offered();
    const QSharedPointer<cFeaturePlugin> plugin = findIn(repository, id);
    const QString text = QStringLiteral("the newest repository on the update locations, \"%1\" %2, %3");
    QString lack;
    if (!plugin)
        lack = otherVersionIn(repository, id.name());
    else if (!plugin->hashFault().isEmpty())
        lack = plugin->hashFault();
    else if (plugin->hash().isEmpty())
        lack = QStringLiteral("gives no hash for it");
    else if (plugin->sources().isEmpty())
        lack = QStringLiteral("gives no source for it");
    if (repository.isEmpty())
        *reason = QStringLiteral("no repository of this installation can be had from the update locations");
    else if (!lack.isEmpty())
        *reason = text.arg(repository.name(), repository.version().toString(), lack);
    else
        return fetch(*plugin, package, reason);
    return false;
}

bool cRepairSource::fetch(const cFeaturePlugin& plugin, cPackage& package, QString* reason)
{
    QStringList reasons;
    for (const cFeatureSource& source : plugin.sources()) {
        const QUrl url = source.url();
        QFile file(QDir(m_scratch).absoluteFilePath(plugin.id().packageFileName()));
        cDownloader downloader;
        const qint64 limit = limitOf(plugin, url, downloader);
        if (limit < 0) {
            reasons.append(QStringLiteral("%1: %2").arg(url.toDisplayString(), cInstallationTrust::notNamed()));
            continue;
        }
        downloader.setSizeLimit(limit);
        QObject::connect(&downloader, &cDownloader::progress, &m_configuration, [&](qint64 received, qint64 total) {
            m_configuration.onProgress(plugin.id().packageFileName(), received, total);
        });
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || !downloader.download(url, &file) ||
            !file.flush()) {
            reasons.append(QStringLiteral("%1: %2").arg(
                url.toDisplayString(), file.error() != QFile::NoError ? causeOf(file) : downloader.errorString()));
            continue;
        }
        file.close();
        const QString refused = read(plugin, file.fileName(), package);
        if (refused.isEmpty())
            return true;
        reasons.append(QStringLiteral("%1: %2").arg(url.toDisplayString(), refused));
    }
    *reason = QStringLiteral("its package cannot be had: ") + reasons.join(QStringLiteral("; "));
    return false;
}

/// As cTrustedSite::limitOf(), where a root of trust is pinned.
qint64 cRepairSource::limitOf(const cFeaturePlugin& plugin, const QUrl& url, cDownloader& downloader)
{
    cUpdateMgr* const updates = cUpdateMgr::instance();
    const QSharedPointer<cTrustedSite> site = updates ? updates->trustedSite() : nullptr;
    return site ? site->limitOf(url, plugin.id().packageFileName(), downloader) : plugin.sizeLimit();
}

const cFeatureCatalogue& cRepairSource::offered()
{
    if (m_offered)
        return *m_offered;
    m_offered = cFeatureCatalogue();
    const QString name = cMachineSettings().value(QLatin1String(SettingsKey::RepositoryName)).toString();
    cRuntimeInfo ignored;
    cUpdateMgr* updates = cUpdateMgr::instance();
    if (updates) {
        updates->loadLocations();
        (void)updates->findNewest(name, *m_offered, ignored); // has logged why, if it has found nothing
    }
    return *m_offered;
}

cRepair::cRepair(cInstallMgr& manager, cConfigurationMgr& configuration, cPluginMgr& plugins, const cLog& log)
    : m_manager(manager), m_configuration(configuration), m_plugins(plugins), m_log(log)
{
}

cRepairOutcome cRepair::run()
{
    (void)cFolderSweep(m_manager, m_log).restoreReplaced(); // what it cannot put back is found, and mended
    cInstalledState state = cInstalledState::read(m_configuration);
    if (state.reason.isEmpty() && !state.lastXml.isEmpty() && restoreCatalogue(state))
        state = cInstalledState::read(m_configuration);
    if (!m_outcome.reason.isEmpty())
        return m_outcome;
    if (!state.reason.isEmpty()) {
        fail(state.reason);
        return m_outcome;
    }
    if (!state.fault.isEmpty())
        noteUnrepaired(QStringLiteral("features.xml"), state.fault);
    cVerification verification(m_manager, m_log);
    (void)verification.run(state);
    restoreSettings(state);
    if (!verification.faulty().isEmpty())
        repairPlugins(verification);
    writeRecord(verification);
    const QVector<cPluginId> installed = pluginsOf(state.catalogue.features());
    cFolderSweep(m_manager, m_log).run(QSet<cPluginId>(installed.begin(), installed.end()));
    if (!m_outcome.unrepaired.isEmpty())
        m_outcome.result = cRepairOutcome::Incomplete;
    else
        m_outcome.result = m_outcome.repaired.isEmpty() ? cRepairOutcome::NothingToDo : cRepairOutcome::Complete;
    return m_outcome;
}

// What somebody has written into the damaged file is not lost, and can be looked at.
bool cRepair::restoreCatalogue(cInstalledState& state)
{
    const QString path = Corvane::velmiraFolderOrFile(Corvane::FeaturesFile);
    QByteArray damaged;
    QString error;
    cFolderJournal journal; // what is written beside a file is cleared away with it, should this run be killed
    if (!journal.note({}))
        return fail(journal.errorString());
    if (readFile(path, damaged, nullptr) && !replaceFile(cFolderSweep::damagedFeaturesFile(), damaged, &error))
        return fail(error);
    if (!replaceFile(path, state.lastXml, &error))
        return fail(error);
    m_log.warning().noquote() << path << "is restored from the last one that was whole;" << state.fault << Qt::endl;
    m_outcome.repaired.append(QStringLiteral("features.xml"));
    return true;
}

// Without them no update would ever be found again.
void cRepair::restoreSettings(const cInstalledState& state)
{
    const cFeatureCatalogue lost = state.lostRepository();
    if (lost.name().isEmpty())
        return;
    const QString name = QStringLiteral("ConfigMgr/RepositoryName");
    cRepositorySettings settings;
    settings.setTarget(lost, true);
    if (settings.store())
        m_outcome.repaired.append(name);
    else
        noteUnrepaired(name, settings.errorString());
}

void cRepair::repairPlugins(const cVerification& verification)
{
    cFolderJournal journal;
    const QString scratch = scratchFolder();
    cFolderRemover remover;
    QString reason;
    if (!journal.note({})) // no folder is noted, for what is installed is not to go, however this run ends
        reason = journal.errorString();
    else if (remover.remove(scratch))
        (void)makeFolder(scratch, &reason); // that it failed is told by the reason
    else
        reason = remover.errorString();
    cRepairSource source(m_configuration, m_log, scratch);
    for (const cPluginId& id : verification.faulty()) {
        QString own = reason;
        if (own.isEmpty() && repairPlugin(id, source, &own))
            m_outcome.repaired.append(id.toString());
        else
            noteUnrepaired(id.toString(), own);
    }
}

bool cRepair::repairPlugin(const cPluginId& id, cRepairSource& source, QString* reason)
{
    cPackage package;
    if (!id.isSafe()) {
        *reason = QStringLiteral("its name cannot be that of a folder");
        return false;
    }
    if (!source.get(id, package, reason))
        return false;
    const cOperation announced(m_manager, IInstallMgr::OPERATION_EXTRACT, id);
    const QString from = QDir(scratchFolder()).absoluteFilePath(id.toString());
    cPackageUnpacker unpacker(from);
    if (!unpacker.unpack(package)) {
        *reason = unpacker.errorString();
        return false;
    }
    if (!flushNewFiles(scratchFolder())) {
        *reason = QStringLiteral("what was unpacked cannot be flushed to the disk: ") +
                  causeOfSystem(Corvane::velmiraFolderOrFile(Corvane::FeaturesFile));
        return false;
    }
    return putInPlace(id, from, unpacker.files(), reason);
}

// The manifest comes last: a folder that has one counts as whole.
bool cRepair::putInPlace(const cPluginId& id, const QString& from, const cFileRecord::Files& files, QString* reason)
{
    const QDir folder = Corvane::pluginDir(id);
    QStringList names = files.keys();
    names.removeAll(ManifestRules::FileName);
    names.append(ManifestRules::FileName);
    cFileRecord::Files placed = files;
    for (const QString& name : qAsConst(names)) {
        const QString path = folder.absoluteFilePath(name);
        if (!files.value(name).difference(path).isEmpty())
            *reason = moveInto(folder, name, QDir(from).absoluteFilePath(name));
        if (!reason->isEmpty())
            return false;
        placed[name].changed = QFileInfo(path).lastModified().toMSecsSinceEpoch();
    }
    cCommandRunner commands(m_manager, m_log);
    const auto plugin = m_plugins.findOrMake(id);
    commands.run(*plugin, IInstallMgr::OPERATION_INSTALL);
    m_outcome.failedCommands += commands.errors();
    const bool hasCommands = !plugin->installCommandLines().isEmpty();
    m_files.insert(id, hasCommands ? filesIn(folder.absolutePath(), placed) : placed);
    return true;
}

void cRepair::writeRecord(const cVerification& verification)
{
    const bool isDamaged = !verification.record().errorString().isEmpty();
    if (m_files.isEmpty() && verification.unrecorded().isEmpty() && !isDamaged)
        return;
    cFileRecord record = verification.record();
    const QVector<cPluginId> installed = pluginsOf(m_configuration.installed().features());
    record.keepOnly(QSet<cPluginId>(installed.begin(), installed.end()));
    for (const cPluginId& id : verification.unrecorded())
        record.set(id, filesIn(Corvane::pluginDir(id).absolutePath(), {}));
    for (auto plugin = m_files.begin(); plugin != m_files.end(); ++plugin)
        record.set(plugin.key(), plugin.value());
    QByteArray catalogue;
    if (isDamaged && readFile(Corvane::velmiraFolderOrFile(Corvane::FeaturesFile), catalogue, nullptr))
        record.setCatalogues({catalogue});
    const QString name = QStringLiteral("files.json");
    cFolderJournal journal;
    if (!journal.note({}))
        noteUnrepaired(name, journal.errorString());
    else if (!flushNewFiles(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder)))
        noteUnrepaired(name, QStringLiteral("what was put in place cannot be flushed to the disk: ") +
                                 causeOfSystem(Corvane::velmiraFolderOrFile(Corvane::FeaturesFile)));
    else if (!record.write())
        noteUnrepaired(name, record.errorString());
    else if (isDamaged || !verification.unrecorded().isEmpty())
        m_outcome.repaired.append(name);
}

bool cRepair::fail(const QString& reason)
{
    m_outcome.reason = QStringLiteral("Nothing is repaired: %1").arg(reason);
    m_log.error().noquote() << m_outcome.reason << Qt::endl;
    return false;
}

void cRepair::noteUnrepaired(const QString& name, const QString& reason)
{
    m_outcome.unrepaired.append({name, reason});
    m_log.error().noquote() << name << "is not repaired:" << reason << Qt::endl;
}
