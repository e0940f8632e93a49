#include <Norvale/IInstallMgr.h>

#include "install/cInstallMgr.h"
#include "log/cFrameworkLog.h"

namespace {

/// The install manager, or null with the reason logged.
cInstallMgr* installMgrFor(const char* caller)
{
    cInstallMgr* manager = cInstallMgr::instance();
    if (!manager)
        cFrameworkLog::installation().error() << caller << "needs initialize() first" << Qt::endl;
    return manager;
}

} // namespace

void IInstallMgr::connectSlots(QObject* receiver, const char* startSlot, const char* progressSlot,
                               const char* finishedSlot)
{
    if (cInstallMgr* manager = installMgrFor("connectSlots()"))
        manager->connectSlots(receiver, startSlot, progressSlot, finishedSlot);
}

bool IInstallMgr::installDropbox()
{
    cInstallMgr* manager = installMgrFor("installDropbox()");
    return manager && manager->installDropbox();
}

bool IInstallMgr::installFromLocation(const QString& path, bool consume)
{
    cInstallMgr* manager = installMgrFor("installFromLocation()");
    return manager && manager->installFromLocation(path, consume);
}

bool IInstallMgr::installBootstrap()
{
    cInstallMgr* manager = installMgrFor("installBootstrap()");
    return manager && manager->installBootstrap();
}

bool IInstallMgr::installPackage(const QString& path)
{
    cInstallMgr* manager = installMgrFor("installPackage()");
    return manager && manager->installPackage(path);
}

bool IInstallMgr::uninstallPlugins()
{
    cInstallMgr* manager = installMgrFor("uninstallPlugins()");
    return manager && manager->uninstallPlugins();
}

cInstallOutcome IInstallMgr::lastOutcome()
{
    const cInstallMgr* manager = cInstallMgr::instance();
    return manager ? manager->lastOutcome() : cInstallOutcome();
}

cVerifyOutcome IInstallMgr::verify()
{
    cInstallMgr* manager = installMgrFor("verify()");
    return manager ? manager->verify() : cVerifyOutcome();
}

cRepairOutcome IInstallMgr::repair()
{
    cInstallMgr* manager = installMgrFor("repair()");
    return manager ? manager->repair() : cRepairOutcome();
}

bool IInstallMgr::installUnsigned(const QString& path)
{
    cInstallMgr* manager = installMgrFor("installUnsigned()");
    return manager && manager->installUnsigned(path);
}
