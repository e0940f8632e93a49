#include "install/cInstallation.h"

#include "config/cCatalogueReader.h"
#include "config/cConfigurationMgr.h"
#include "config/cDropbox.h"
#include "core/Files.h"
#include "install/cCommandRunner.h"
#include "install/cInstallMgr.h"
#include "install/cPluginFolders.h"
#include "install/cStartCheck.h"
#include "install/cVerification.h"
#include "plugins/ManifestRules.h"
#include "plugins/cPluginMgr.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>

namespace {

/// The bar's arithmetic: multiply, then divide rounding to the nearest.
int mulDiv(int number, int numerator, int denominator)
{
    return int((qint64(number) * numerator + denominator / 2) / denominator);
}

QSet<cPluginId> setOf(const QVector<cPluginId>& plugins)
{
    return QSet<cPluginId>(plugins.begin(), plugins.end());
}

QStringList textsOf(const QVector<cPluginId>& plugins)
{
    QStringList texts;
    for (const cPluginId& id : plugins)
        texts.append(id.toString());
    return texts;
}

QString titleOf(const cFeatureInstance& feature)
{
    return QStringLiteral("\"%1\" %2").arg(feature.name(), feature.version().toString());
}

cInstallOutcome::Result resultOf(const cInstallPlan& plan)
{
    if (!plan.isComplete())
        return cInstallOutcome::Incomplete;
    return plan.features().isEmpty() ? cInstallOutcome::NothingToDo : cInstallOutcome::Complete;
}

} // namespace

cInstallation::cInstallation(cInstallMgr& manager, cConfigurationMgr& configuration, cPluginMgr& plugins,
                             const cLog& log)
    : m_manager(manager), m_configuration(configuration), m_plugins(plugins), m_log(log)
{
}

QString cInstallation::recover()
{
    (void)m_configuration.loadFeatures();
    const QString fault = m_configuration.catalogueFault();
    if (fault.isEmpty())
        cFolderSweep(m_manager, m_log).run(setOf(pluginsOf(m_configuration.installed().features())));
    return fault;
}

cInstallOutcome cInstallation::run(const cFeatureCatalogue& offered, const cPackageSource& source, cPackageTrust& trust)
{
    if (offered.hasCoreVersion() && cVersion(Corvane::currentVersion()) < offered.coreVersion()) {
        logAndFail(source, cInstallOutcome::CoreTooOld,
                   QStringLiteral("it needs the core version %1; this is %2")
                       .arg(offered.coreVersion().toString(), Corvane::currentVersion()));
        return m_outcome;
    }
    m_plan = std::make_unique<cInstallPlan>(m_configuration.installed(), present(), offered);
    if (!prepare(offered, source))
        return m_outcome;
    cUnpacking unpacking(m_manager, m_plugins, m_log, source, trust, *m_plan);
    unpacking.run();
    m_unpacked = unpacking.files();
    cStartCheck(*m_plan).run();
    noteLeftOut();
    runCommands();
    const bool isDone = commit(offered, source);
    (void)recover();
    if (isDone && source.isConsumed())
        consume(offered, source);
    return m_outcome;
}

/// The installed plugins whose folders are really there.
QSet<cPluginId> cInstallation::present() const
{
    QSet<cPluginId> present;
    for (const cPluginId& id : pluginsOf(m_configuration.installed().features())) {
        if (QFile::exists(Corvane::pluginDir(id).absoluteFilePath(ManifestRules::FileName)))
            present.insert(id);
    }
    return present;
}

// What is bound to fail later is found out before anything is run or written.
bool cInstallation::prepare(const cFeatureCatalogue& offered, const cPackageSource& source)
{
    m_settings.setTarget(offered, !m_plan->features().isEmpty());
    if (m_settings.hasChange() && !m_settings.isWritable())
        return logAndFail(source, cInstallOutcome::Failed, m_settings.errorString());
    if (m_plan->features().isEmpty())
        return true;
    leaveOutForeign();
    cFolderJournal journal;
    QVector<cPluginId> touched = m_plan->touched();
    const auto isForeign = [&](const cPluginId& id) { return m_foreign.contains(id); };
    touched.erase(std::remove_if(touched.begin(), touched.end(), isForeign), touched.end());
    return journal.note(touched) || logAndFail(source, cInstallOutcome::Failed, journal.errorString());
}

/// The plugins of the plan whose folders are there although the suite has not made them: no feature names them, or has
/// named them before, and no run that was cut off has left them.
QSet<cPluginId> cInstallation::foreign() const
{
    cFeatureCatalogue last;
    QByteArray xml;
    if (readFile(cConfigurationMgr::lastFeaturesFile(), xml, nullptr))
        (void)cCatalogueReader(last).read(xml);
    QSet<QString> own;
    for (const cPluginId& id :
         pluginsOf(m_configuration.installed().features()) + pluginsOf(last.features()) + cFolderJournal().plugins())
        own.insert(id.caselessKey());
    cFileRecord record;
    (void)record.read(); // it only knows of more
    QSet<cPluginId> foreign;
    for (const cPluginId& id : m_plan->touched()) {
        if (id.isSafe() && !own.contains(id.caselessKey()) && !record.contains(id) &&
            !isAbsent(Corvane::pluginDir(id).absolutePath()))
            foreign.insert(id);
    }
    return foreign;
}

void cInstallation::leaveOutForeign()
{
    m_foreign = foreign();
    for (int i = 0; i < m_plan->features().size(); ++i) {
        for (const cPluginId& id : pluginsOf({m_plan->features().at(i).record})) {
            if (!m_foreign.contains(id))
                continue;
            const QString text =
                QStringLiteral("the folder %1 is there, which no feature has had: it is left as it is");
            m_plan->leaveOut(i, {text.arg(Corvane::pluginDir(id).absolutePath())});
            break;
        }
    }
}

void cInstallation::noteLeftOut()
{
    for (const cInstallPlan::Feature& feature : m_plan->features()) {
        if (!feature.isLeftOut())
            continue;
        const cInstallPlan::Reason& reason = feature.reason;
        m_log.error().noquote() << "The feature" << titleOf(*feature.record) << "is left out:" << reason.text
                                << Qt::endl;
        m_outcome.leftOut.append(
            {feature.record->name(), feature.record->version(), reason.text, reason.isWorthRetrying});
        m_outcome.hasDiskRefused = m_outcome.hasDiskRefused || reason.isWorthRetrying;
    }
}

void cInstallation::runCommands()
{
    const QVector<cPluginId> removed = m_plan->removed();
    const QVector<cPluginId> added = m_plan->added();
    const int total = mulDiv(100, added.size() + 2 * removed.size(), 70);
    int current = mulDiv(20, total, 100);
    cCommandRunner commands(m_manager, m_log);
    const auto run = [&](const QVector<cPluginId>& plugins, IInstallMgr::OPERATION operation) {
        for (const cPluginId& id : plugins) {
            if (id.isSafe())
                commands.run(*m_plugins.findOrMake(id), operation);
            m_manager.tell([&] { emit m_manager.installationProgress(++current, total); });
        }
    };
    run(removed, IInstallMgr::OPERATION_UNINSTALL);
    run(added, IInstallMgr::OPERATION_INSTALL);
    m_outcome.failedCommands = commands.errors();
}

bool cInstallation::commit(const cFeatureCatalogue& offered, const cPackageSource& source)
{
    m_outcome.result = resultOf(*m_plan);
    if (!m_plan->isComplete())
        m_settings.keep();
    const bool isChange = m_plan->hasTaken();
    if (!isChange && !m_plan->isComplete())
        return true;
    if (!m_settings.store())
        return logAndFail(source, cInstallOutcome::Failed, m_settings.errorString());
    if (!isChange)
        return true;
    QString error;
    if (!writeRecord(&error)) {
        restoreSettings();
        return logAndFail(source, cInstallOutcome::Failed, error);
    }
    if (!m_configuration.saveFeatures(m_plan->result())) {
        restoreSettings();
        // The configuration manager has logged why.
        return fail(source, cInstallOutcome::Failed, QStringLiteral("the features file cannot be written"));
    }
    noteInstalled(offered);
    return true;
}

void cInstallation::restoreSettings()
{
    if (!m_settings.restore())
        m_log.error().noquote() << "What is installed is not what the settings tell:" << m_settings.errorString()
                                << Qt::endl;
}

// Before the features file names a plugin, so that whatever is installed at any moment has its record.
bool cInstallation::writeRecord(QString* error)
{
    cFileRecord record;
    if (!record.read())
        m_log.warning().noquote() << "The record of installed files begins anew:" << record.errorString() << Qt::endl;
    record.keepOnly(setOf(pluginsOf(m_configuration.installed().features()) + pluginsOf(m_plan->result())));
    for (const cPluginId& id : m_plan->added()) {
        cFileRecord::Files files = m_unpacked.value(id);
        // What a plugin's own command lines have made of its files is installed, too.
        if (!m_plugins.findOrMake(id)->installCommandLines().isEmpty())
            files = filesIn(Corvane::pluginDir(id).absolutePath(), files);
        record.set(id, files);
        record.setPackaged(id, m_unpacked.value(id));
    }
    QByteArray before;
    QList<QByteArray> catalogues{cConfigurationMgr::featuresText(m_plan->result())};
    if (readFile(Corvane::velmiraFolderOrFile(Corvane::FeaturesFile), before, nullptr))
        catalogues.append(before);
    record.setCatalogues(catalogues);
    if (record.write())
        return true;
    *error = record.errorString();
    return false;
}

void cInstallation::noteInstalled(const cFeatureCatalogue& offered)
{
    for (const cInstallPlan::Feature& feature : m_plan->features()) {
        if (!feature.isLeftOut())
            m_log.info().noquote() << "Installed the feature" << titleOf(*feature.record) << "of"
                                   << QStringLiteral("\"%1\"").arg(offered.name()) << Qt::endl;
    }
    m_outcome.installed = textsOf(m_plan->added());
    m_outcome.removed = textsOf(m_plan->removed());
}

void cInstallation::consume(const cFeatureCatalogue& offered, const cPackageSource& source)
{
    cFeatureCatalogue leftOut;
    cFeatureCatalogue::Features retried;
    for (const cInstallPlan::Feature& feature : m_plan->features()) {
        if (feature.isLeftOut())
            leftOut.append(feature.record);
        if (feature.reason.isWorthRetrying)
            retried.append(feature.record);
    }
    const QSet<cPluginId> kept = setOf(pluginsOf(retried));
    const QSet<cPluginId> installed = setOf(m_plan->added()) + m_plan->present();
    for (const cPluginId& id : pluginsOf(offered.features())) {
        if (id.isSafe() && installed.contains(id) && !kept.contains(id))
            consumeFile(source.besideDescription(id), m_log);
    }
    if (!retried.isEmpty())
        return;
    // What is older than what is installed, and what a fetch has left that was killed when its update had just come to
    // count. What was left out may be wanted by the next update.
    if (source.path() == Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile)) {
        const QString left = cDropbox().tidy(leftOut);
        if (!left.isEmpty())
            m_log.warning().noquote() << "Left in the Dropbox:" << left << Qt::endl;
    }
    consumeFile(source.path(), m_log);
}

bool cInstallation::fail(const cPackageSource& source, cInstallOutcome::Result result, const QString& reason)
{
    m_outcome.result = result;
    m_outcome.reason = QStringLiteral("%1 is not installed: %2").arg(source.path(), reason);
    m_outcome.hasDiskRefused = m_outcome.hasDiskRefused || result == cInstallOutcome::Failed;
    return false;
}

bool cInstallation::logAndFail(const cPackageSource& source, cInstallOutcome::Result result, const QString& reason)
{
    fail(source, result, reason);
    m_log.error().noquote() << m_outcome.reason << Qt::endl;
    return false;
}
