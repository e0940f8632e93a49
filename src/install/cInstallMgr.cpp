#include "install/cInstallMgr.h"

#include "config/cCatalogueReader.h"
#include "config/cConfigurationMgr.h"
#include "install/cFolderJournal.h"
#include "install/cInstallation.h"
#include "install/cOperation.h"
#include "install/cUninstallation.h"
#include "plugins/cPluginMgr.h"

#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QFile>

namespace {

cInstallMgr* s_instance = nullptr;

/// Keeps a slot that is told of the progress from starting what is under way.
class cOnce
{
public:
    explicit cOnce(bool& isBusy) : m_isBusy(isBusy), m_isFirst(!isBusy) { m_isBusy = true; }
    ~cOnce() { m_isBusy = !m_isFirst; }
    bool isFirst() const { return m_isFirst; }

private:
    bool& m_isBusy;
    const bool m_isFirst;
};

} // namespace

cInstallMgr::cInstallMgr(cConfigurationMgr& configuration, cPluginMgr& plugins)
    : m_configuration(configuration), m_plugins(plugins), m_log(cLogCentral::log(QStringLiteral("InstallMgr")))
{
    qRegisterMetaType<IInstallMgr::OPERATION>("IInstallMgr::OPERATION");
    s_instance = this;
}

cInstallMgr::~cInstallMgr()
{
    s_instance = nullptr;
}

cInstallMgr* cInstallMgr::instance()
{
    return s_instance;
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
    const cOnce once(m_isBusy);
    if (!once.isFirst())
        return refuse(path, QStringLiteral("an installation is under way"));
    const cOperation announced(*this, IInstallMgr::OPERATION_START);
    if (!QFile::exists(path)) {
        if (cFolderJournal().exists())
            cInstallation(*this, m_configuration, m_plugins, m_log).recover();
        return consume || refuse(path, QStringLiteral("it does not exist"));
    }
    emit installationStart(IInstallMgr::OPERATION_LOCATION, QString(), QString());
    bool isRead = false;
    const QByteArray xml = Corvane::FileReadAll(path, &isRead);
    if (!isRead)
        return refuse(path, QStringLiteral("it cannot be read"));
    cFeatureCatalogue offered;
    cCatalogueReader reader(offered);
    if (!reader.read(xml))
        return refuse(path, reader.errorString());
    return install(offered, path, consume);
}

bool cInstallMgr::installBootstrap()
{
    const QString path = Corvane::velmiraFolderOrFile(Corvane::BootstrapRepositoryFile);
    const cOnce once(m_isBusy);
    if (!once.isFirst())
        return refuse(path, QStringLiteral("an installation is under way"));
    const cOperation announced(*this, IInstallMgr::OPERATION_START);
    if (!QFile::exists(path))
        return refuse(path, QStringLiteral("it does not exist"));
    emit installationStart(IInstallMgr::OPERATION_LOCATION, QString(), QString());
    // Why it cannot be read has been logged by who reads it.
    return m_configuration.readAvailable(path) && install(m_configuration.available(), path, false);
}

bool cInstallMgr::uninstallPlugins()
{
    const cOnce once(m_isBusy);
    if (!once.isFirst()) {
        m_log.error() << "Nothing is uninstalled: an installation is under way" << Qt::endl;
        return false;
    }
    return cUninstallation(*this, m_configuration, m_plugins, m_log).run();
}

bool cInstallMgr::install(const cFeatureCatalogue& offered, const QString& path, bool consume)
{
    cInstallation installation(*this, m_configuration, m_plugins, m_log);
    installation.recover();
    const bool isComplete = installation.run(offered, path, consume);
    return m_configuration.publishInstalledPlugins() && isComplete;
}

bool cInstallMgr::refuse(const QString& path, const QString& reason)
{
    m_log.error().noquote() << path << "is not installed:" << reason << Qt::endl;
    return false;
}
