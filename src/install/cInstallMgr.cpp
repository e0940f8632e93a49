#include "install/cInstallMgr.h"

#include "config/cConfigurationMgr.h"
#include "install/cConditionEngine.h"
#include "plugins/cPluginMgr.h"

#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>

namespace {
cInstallMgr* s_instance = nullptr;
}

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

bool cInstallMgr::installFromLocation(const QString& path, bool)
{
    m_log.error() << "Not installed:" << path << m_plugins.plugins().size() << m_configuration.available().isEmpty()
                  << Qt::endl;
    return false;
}

bool cInstallMgr::installBootstrap()
{
    return installFromLocation(Corvane::velmiraFolderOrFile(Corvane::BootstrapRepositoryFile), false);
}

bool cInstallMgr::uninstallPlugins()
{
    return false;
}
