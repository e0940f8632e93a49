#include "install/cInstallation.h"

#include "config/cConfigurationMgr.h"
#include "config/cDropbox.h"
#include "core/System.h"
#include "install/cCommandRunner.h"
#include "install/cFolderJournal.h"
#include "install/cFolderRemover.h"
#include "install/cFolderSweep.h"
#include "install/cOperation.h"
#include "install/cPackage.h"
#include "install/cPackageCheck.h"
#include "install/cPackageUnpacker.h"
#include "install/cRepositorySettings.h"
#include "plugins/cPluginMgr.h"
#include "version/SafeName.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFile>

namespace {

/// The bar's arithmetic: multiply, then divide rounding to the nearest.
int mulDiv(int number, int numerator, int denominator)
{
    return int((qint64(number) * numerator + denominator / 2) / denominator);
}

QSet<QString> identities(const cFeatureCatalogue& catalogue)
{
    QSet<QString> identities;
    for (const QSharedPointer<cFeatureInstance>& feature : catalogue.features()) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins())
            identities.insert(plugin->identity());
    }
    return identities;
}

QString titleOf(const cFeatureInstance& feature)
{
    return feature.name() + QLatin1Char(' ') + feature.version().toString();
}

} // namespace

cInstallation::cInstallation(cInstallMgr& manager, cConfigurationMgr& configuration, cPluginMgr& plugins,
                             const cLog& log)
    : m_manager(manager), m_configuration(configuration), m_plugins(plugins), m_log(log)
{
}

void cInstallation::recover()
{
    // Without a list of what is installed, nothing tells a leftover from a plugin.
    const QString features = Corvane::velmiraFolderOrFile(Corvane::FeaturesFile);
    if (m_configuration.loadFeatures() || !QFile::exists(features))
        cFolderSweep(m_manager, m_log).run(identities(m_configuration.installed()));
}

bool cInstallation::run(const cFeatureCatalogue& offered, const QString& path, bool consume)
{
    if (offered.hasCoreVersion() && cVersion(Corvane::currentVersion()) < offered.coreVersion())
        return refuse(QStringLiteral("it needs the core version %1; this is %2")
                          .arg(offered.coreVersion().toString(), Corvane::currentVersion()));
    m_source = std::make_unique<cPackageSource>(path);
    const QSet<QString> present = this->present();
    for (const QString& identity : present)
        m_occupants.insert(caselessFileName(identity), identity);
    m_plan = std::make_unique<cInstallPlan>(m_configuration.installed(), present, offered);
    if (!prepare(offered))
        return false;
    unpackAll(consume);
    m_plan->settle();
    reportLeftOut();
    runCommands();
    if (!commit(offered)) {
        recover();
        return false;
    }
    recover();
    if (consume)
        consumeLocation(offered, path);
    return m_plan->isComplete();
}

bool cInstallation::refuse(const QString& reason)
{
    m_log.error().noquote() << "The location is not installed:" << reason << Qt::endl;
    return false;
}

QSet<QString> cInstallation::present() const
{
    QSet<QString> present;
    for (const QSharedPointer<cFeatureInstance>& feature : m_configuration.installed().features()) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins()) {
            const QDir folder = Corvane::pluginDir(plugin->name(), plugin->version().toString());
            if (QFile::exists(folder.absoluteFilePath(QStringLiteral("Manifest.xml"))))
                present.insert(plugin->identity());
        }
    }
    return present;
}

// What is bound to fail later is found out before anything is run or written.
bool cInstallation::prepare(const cFeatureCatalogue& offered)
{
    m_settings.setTarget(offered, !m_plan->features().isEmpty());
    if (m_settings.hasChange() && !m_settings.isWritable())
        return refuse(QStringLiteral("the machine-wide settings cannot be written"));
    if (m_plan->features().isEmpty())
        return true;
    cFolderJournal journal;
    return journal.note(m_plan->touched()) || refuse(journal.errorString());
}

void cInstallation::unpackAll(bool consume)
{
    for (int i = 0; i < m_plan->features().size(); ++i)
        unpackFeature(i, consume);
    if (m_plan->added().isEmpty())
        return;
    if (flushNewFiles(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder)))
        return;
    for (int i = 0; i < m_plan->features().size(); ++i) {
        if (m_plan->features().at(i).fault.isEmpty())
            m_plan->leaveOut(i, QStringLiteral("what was unpacked cannot be flushed to the disk"), true);
    }
}

void cInstallation::unpackFeature(int index, bool consume)
{
    for (const QSharedPointer<cFeaturePlugin>& plugin : m_plan->features().at(index).record->plugins()) {
        const QString identity = plugin->identity();
        if (!m_outcomes.contains(identity))
            m_outcomes.insert(identity, unpack(*plugin, consume));
        const Outcome outcome = m_outcomes.value(identity);
        if (!outcome.fault.isEmpty()) {
            m_plan->leaveOut(index, outcome.fault, outcome.isWorthRetrying);
            return;
        }
    }
}

cInstallation::Outcome cInstallation::unpack(const cFeaturePlugin& plugin, bool consume)
{
    if (!isSafeFileName(plugin.name()))
        return {QStringLiteral("the plugin name \"%1\" cannot name a folder").arg(plugin.name()), false};
    if (m_plan->isPresent(plugin))
        return {};
    const QString occupant = m_occupants.value(caselessFileName(plugin.identity()), plugin.identity());
    if (occupant != plugin.identity())
        return {QStringLiteral("the plugin %1 would have the folder of %2").arg(plugin.identity(), occupant), false};
    const QString path = m_source->find(plugin);
    if (path.isEmpty())
        return {QStringLiteral("its package %1 is not there").arg(plugin.packageFileName()), false};
    cPackage package;
    cPackageCheck check;
    check.expectIdentity(plugin.name(), plugin.version());
    check.expectHash(plugin.hash());
    if (check.checkFile(path, package))
        return writePackage(plugin, package);
    if (consume && !check.isUnread() && path == m_source->besideDescription(plugin))
        consumeFile(path);
    return {QStringLiteral("its package %1 is refused: %2").arg(path, check.summary()), check.isUnread()};
}

cInstallation::Outcome cInstallation::writePackage(const cFeaturePlugin& plugin, const cPackage& package)
{
    const QString version = plugin.version().toString();
    const cOperation announced(m_manager, IInstallMgr::OPERATION_EXTRACT, plugin.name(), version);
    const QString folder = Corvane::pluginDir(plugin.name(), version).absolutePath();
    cFolderRemover remover;
    if (!remover.remove(folder))
        return {remover.errorString(), true};
    cPackageUnpacker unpacker(folder);
    if (unpacker.unpack(package)) {
        m_occupants.insert(caselessFileName(plugin.identity()), plugin.identity());
        m_plugins.findOrMake(plugin.name(), plugin.version());
        return {};
    }
    // Room is made for the features that follow; what cannot be removed now is noted in the journal.
    (void)remover.remove(folder);
    return {unpacker.errorString(), true};
}

void cInstallation::reportLeftOut()
{
    for (const cInstallPlan::Feature& feature : m_plan->features()) {
        if (!feature.fault.isEmpty())
            m_log.error().noquote() << "The feature" << titleOf(*feature.record) << "is left out:" << feature.fault
                                    << Qt::endl;
    }
}

void cInstallation::runCommands()
{
    using Plugins = QVector<cInstallPlan::Plugin>;
    const Plugins removed = m_plan->removed();
    const Plugins added = m_plan->added();
    const int total = mulDiv(100, added.size() + 2 * removed.size(), 70);
    int current = mulDiv(20, total, 100);
    cCommandRunner commands(m_manager, m_log);
    const auto run = [&](const Plugins& plugins, IInstallMgr::OPERATION operation) {
        for (const cInstallPlan::Plugin& plugin : plugins) {
            if (isSafeFileName(plugin->name()))
                commands.run(*m_plugins.findOrMake(plugin->name(), plugin->version()), operation);
            emit m_manager.installationProgress(++current, total);
        }
    };
    run(removed, IInstallMgr::OPERATION_UNINSTALL);
    run(added, IInstallMgr::OPERATION_INSTALL);
}

bool cInstallation::commit(const cFeatureCatalogue& offered)
{
    if (!m_plan->isComplete())
        m_settings.keepVersion();
    const bool isChange = m_plan->hasTaken();
    if (!isChange && !m_plan->isComplete())
        return true;
    if (!m_settings.store())
        return refuse(QStringLiteral("the machine-wide settings cannot be written"));
    if (!isChange)
        return true;
    if (!m_configuration.saveFeatures(m_plan->result())) {
        m_settings.restore(); // the reason has been logged
        return false;
    }
    for (const cInstallPlan::Feature& feature : m_plan->features()) {
        if (feature.fault.isEmpty())
            m_log.info().noquote() << "Installed" << titleOf(*feature.record) << "of" << offered.name() << Qt::endl;
    }
    return true;
}

void cInstallation::consumeLocation(const cFeatureCatalogue& offered, const QString& path)
{
    QSet<QString> kept;
    bool isDone = true;
    for (const cInstallPlan::Feature& feature : m_plan->features()) {
        if (!feature.isWorthRetrying)
            continue;
        isDone = false;
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature.record->plugins())
            kept.insert(plugin->identity());
    }
    for (const QSharedPointer<cFeatureInstance>& feature : offered.features()) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins()) {
            if (isSafeFileName(plugin->name()) && !kept.contains(plugin->identity()))
                consumeFile(m_source->besideDescription(*plugin));
        }
    }
    if (!isDone)
        return;
    // A fetch that was killed when its update had just come to count leaves packages of the one before.
    if (path == Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile)) {
        const QString left = cDropbox().tidy(cFeatureCatalogue());
        if (!left.isEmpty())
            m_log.warning().noquote() << "Left in the Dropbox:" << left << Qt::endl;
    }
    consumeFile(path);
}

void cInstallation::consumeFile(const QString& path)
{
    QFile file(path);
    if (file.exists() && !file.remove())
        m_log.warning().noquote() << path << "is installed, but cannot be deleted:" << file.errorString() << Qt::endl;
}
