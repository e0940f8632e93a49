#include "install/cInstallMgr.h"

#include "config/cCatalogueReader.h"
#include "config/cConfigurationMgr.h"
#include "core/Files.h"
#include "core/Settings.h"
#include "install/cInstallation.h"
#include "install/cPackageTrust.h"
#include "install/cPluginFolders.h"
#include "install/cPluginReplacement.h"
#include "install/cRepair.h"
#include "install/cUninstallation.h"
#include "log/cFrameworkLog.h"
#include "version/ForeignCode.h"

#include <Norvale/Corvane.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QScopedValueRollback>
#include <QtCore/QUrl>

namespace {

cInstallMgr* s_installMgr = nullptr;

const QLatin1String Busy("an installation is under way");

QString textOf(const QString& path, const QString& reason)
{
    return QStringLiteral("%1 is not installed: %2").arg(path, reason);
}

/// The plugin of a package file that is named "name-version.zip", the version in any form; the null id for other names.
cPluginId idOfPackage(const QString& path)
{
    static const QRegularExpression form(QStringLiteral("^(.+)-(\\d+(?:\\.\\d+){0,2})\\.zip$"),
                                         QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = form.match(QFileInfo(path).fileName());
    return cPluginId(match.captured(1), cVersion(match.captured(2)));
}

/// The version that follows @p version, whose components are read as unsigned numbers.
cVersion nextVersion(const cVersion& version)
{
    return cVersion(QStringLiteral("%1.%2.%3")
                        .arg(quint32(version.major()))
                        .arg(quint32(version.minor()))
                        .arg(quint32(version.build()) + 1));
}

/// What a package belongs to that is of no repository: the next version of the development feature, with the package's
/// plugin and those of other names that the feature has. Repository name and version are the installed ones.
cFeatureCatalogue developmentFeature(const cFeatureCatalogue& installed, const cPluginId& package, const QUrl& source)
{
    const QString name = QString::fromLatin1(cFeatureInstance::DevelopmentName);
    cFeatureCatalogue offered;
    offered.setName(cMachineSettings().value(QLatin1String(SettingsKey::RepositoryName), name).toString());
    offered.setVersion(cVersion(Corvane::currentVersion()));
    QSharedPointer<cFeatureInstance> before = installed.find(name);
    if (!before)
        before = QSharedPointer<cFeatureInstance>::create(name, cVersion(), true, QString());
    const QSharedPointer<cFeatureInstance> feature = before->copy(nextVersion(before->version()));
    feature->setRepository(offered.name());
    for (const QSharedPointer<cFeaturePlugin>& plugin : before->plugins()) {
        if (plugin->name() != package.name())
            feature->addPlugin(QSharedPointer<cFeaturePlugin>::create(plugin->id()));
    }
    const auto plugin = QSharedPointer<cFeaturePlugin>::create(package);
    plugin->addSource({nullptr, source.toString(QUrl::FullyEncoded)});
    feature->addPlugin(plugin);
    offered.append(feature);
    return offered;
}

} // namespace

cInstallMgr::cInstallMgr(cConfigurationMgr& configuration, cPluginMgr& plugins)
    : m_configuration(configuration), m_plugins(plugins), m_log(cFrameworkLog::installation())
{
    qRegisterMetaType<IInstallMgr::OPERATION>("IInstallMgr::OPERATION");
    s_installMgr = this;
}

cInstallMgr::~cInstallMgr()
{
    s_installMgr = nullptr;
}

cInstallMgr* cInstallMgr::instance()
{
    return s_installMgr;
}

void cInstallMgr::connectSlots(QObject* receiver, const char* startSlot, const char* progressSlot,
                               const char* finishedSlot)
{
    connectSlot(SIGNAL(installationStart(IInstallMgr::OPERATION, QString, QString)), receiver, startSlot);
    connectSlot(SIGNAL(installationProgress(int, int)), receiver, progressSlot);
    connectSlot(SIGNAL(installationFinished()), receiver, finishedSlot);
}

void cInstallMgr::connectSlot(const char* signal, QObject* receiver, const char* slot)
{
    if (!receiver || !slot || !connect(this, signal, receiver, slot))
        m_log.warning() << (signal + 1) << "is not connected: no receiver, or no slot" << (slot ? slot + 1 : "")
                        << Qt::endl;
}

bool cInstallMgr::installDropbox()
{
    return installFromLocation(Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile), true);
}

bool cInstallMgr::installFromLocation(const QString& path, bool consume)
{
    if (m_isBusy)
        return logAndFail(textOf(path, Busy));
    const QScopedValueRollback<bool> busy(m_isBusy, true);
    m_outcome = cInstallOutcome();
    const cOperation announced(*this, IInstallMgr::OPERATION_START);
    if (!QFile::exists(path)) {
        if (cFolderJournal().exists()) // a damaged features file is told by the start
            (void)cInstallation(*this, m_configuration, m_plugins, m_log).recover();
        m_outcome.result = cInstallOutcome::NothingToDo;
        return consume || logAndFail(path, QStringLiteral("it does not exist"));
    }
    tell([&] { emit installationStart(IInstallMgr::OPERATION_LOCATION, QString(), QString()); });
    QByteArray xml;
    QString cause;
    if (!readFile(path, xml, &cause))
        return logAndFail(path, QStringLiteral("it cannot be read: ") + cause);
    cFeatureCatalogue offered;
    cCatalogueReader reader(offered);
    if (!reader.read(xml))
        return logAndFail(path, reader.errorString());
    return install(offered, cPackageSource(path, consume ? cPackageSource::Consumed : cPackageSource::Kept));
}

bool cInstallMgr::installBootstrap()
{
    const QString path = Corvane::velmiraFolderOrFile(Corvane::BootstrapRepositoryFile);
    if (m_isBusy)
        return logAndFail(textOf(path, Busy));
    const QScopedValueRollback<bool> busy(m_isBusy, true);
    m_outcome = cInstallOutcome();
    const cOperation announced(*this, IInstallMgr::OPERATION_START);
    if (!QFile::exists(path))
        return logAndFail(path, QStringLiteral("it does not exist"));
    tell([&] { emit installationStart(IInstallMgr::OPERATION_LOCATION, QString(), QString()); });
    if (!m_configuration.readAvailable(path)) // the configuration manager has logged why
        return fail(path, QStringLiteral("it cannot be read as a repository description"));
    return install(m_configuration.available(), cPackageSource(path, cPackageSource::Kept));
}

bool cInstallMgr::installPackage(const QString& path)
{
    const QString package = QFileInfo(path).absoluteFilePath();
    if (m_isBusy)
        return logAndFail(textOf(package, Busy));
    const QScopedValueRollback<bool> busy(m_isBusy, true);
    m_outcome = cInstallOutcome();
    const cOperation announced(*this, IInstallMgr::OPERATION_START);
    if (!QFileInfo(package).isFile())
        return logAndFail(package, QStringLiteral("it is no file"));
    const cPluginId id = idOfPackage(package);
    if (id.isNull())
        return logAndFail(package, QStringLiteral("it is not named NAME-VERSION.zip, as packages are"));
    tell([&] { emit installationStart(IInstallMgr::OPERATION_LOCATION, QString(), QString()); });
    // The features must be loaded for the other plugins of the development feature to stay in it.
    cInstallation installation(*this, m_configuration, m_plugins, m_log);
    cPackageTrust trust(package, m_isUnsigned, m_log);
    const QString fault = installation.recover();
    if (!fault.isEmpty())
        return refuse(package, fault);
    if (cPluginReplacement::isFor(m_configuration.installed(), id)) {
        const cInstallOutcome outcome = cPluginReplacement(*this, m_configuration, m_log).run(id, package, trust);
        (void)installation.recover();
        return conclude(outcome);
    }
    const cFeatureCatalogue offered = developmentFeature(m_configuration.installed(), id, QUrl::fromLocalFile(package));
    return conclude(installation.run(offered, cPackageSource(package, cPackageSource::SinglePackage), trust));
}

bool cInstallMgr::installUnsigned(const QString& path)
{
    const QScopedValueRollback<bool> isUnsigned(m_isUnsigned, true);
    return path.endsWith(QLatin1String(".zip"), Qt::CaseInsensitive) ? installPackage(path)
                                                                     : installFromLocation(path, false);
}

bool cInstallMgr::uninstallPlugins()
{
    if (m_isBusy)
        return logAndFail(QStringLiteral("Nothing is uninstalled: ") + Busy);
    const QScopedValueRollback<bool> busy(m_isBusy, true);
    return cUninstallation(*this, m_configuration, m_plugins, m_log).run();
}

cVerifyOutcome cInstallMgr::verify()
{
    cVerifyOutcome outcome;
    outcome.reason = Busy;
    if (m_isBusy)
        return outcome;
    const QScopedValueRollback<bool> busy(m_isBusy, true);
    // Plugins may run, and what they are told is installed does not change under them.
    const cFeatureCatalogue published = m_configuration.installed();
    const cInstalledState state = cInstalledState::read(m_configuration);
    if (!published.isEmpty())
        m_configuration.setInstalled(published);
    return cVerification(*this, m_log).run(state);
}

cRepairOutcome cInstallMgr::repair()
{
    cRepairOutcome outcome;
    outcome.reason = QStringLiteral("Nothing is repaired: ") + Busy;
    if (m_isBusy)
        return outcome;
    const QScopedValueRollback<bool> busy(m_isBusy, true);
    return cRepair(*this, m_configuration, m_plugins, m_log).run();
}

bool cInstallMgr::install(const cFeatureCatalogue& offered, const cPackageSource& source)
{
    cInstallation installation(*this, m_configuration, m_plugins, m_log);
    cPackageTrust trust(source.path(), m_isUnsigned, m_log);
    const QString fault = installation.recover();
    if (!fault.isEmpty())
        return refuse(source.path(), fault);
    return conclude(installation.run(offered, source, trust));
}

/// Nothing is installed as long as nobody knows what is.
bool cInstallMgr::refuse(const QString& path, const QString& fault)
{
    m_outcome.result = cInstallOutcome::Failed;
    m_outcome.reason = textOf(path, QStringLiteral("the list of what is installed is damaged: ") + fault);
    return logAndFail(m_outcome.reason);
}

bool cInstallMgr::conclude(const cInstallOutcome& outcome)
{
    m_outcome = outcome;
    if (!m_configuration.publishInstalledPlugins()) { // the configuration manager has logged why
        m_outcome.result = cInstallOutcome::Failed;
        m_outcome.reason = QStringLiteral("The installed plugins cannot be published");
    }
    return m_outcome.isSuccess();
}

/// There is nothing at @p path to install from.
bool cInstallMgr::fail(const QString& path, const QString& reason)
{
    m_outcome.result = cInstallOutcome::NoDescription;
    m_outcome.reason = textOf(path, reason);
    return false;
}

bool cInstallMgr::logAndFail(const QString& path, const QString& reason)
{
    fail(path, reason);
    return logAndFail(m_outcome.reason);
}

void cInstallMgr::tell(const std::function<void()>& emission)
{
    const QString thrown = whatIsThrownBy(emission);
    if (!thrown.isEmpty())
        m_log.error().noquote() << "A receiver of the signals of an installation" << thrown << Qt::endl;
}

bool cInstallMgr::logAndFail(const QString& text) const
{
    m_log.error().noquote() << text << Qt::endl;
    return false;
}

cOperation::cOperation(cInstallMgr& manager, IInstallMgr::OPERATION operation, const cPluginId& plugin)
    : m_manager(manager)
{
    const QString version = plugin.isNull() ? QString() : plugin.version().toString();
    m_manager.tell([&] { emit m_manager.installationStart(operation, plugin.name(), version); });
}
