#include <Norvale/IInstallMgr.h>

#include "install/cInstallMgr.h"
#include "log/cFrameworkLog.h"

namespace {

/// The install manager, or null with the reason logged.
cInstallMgr* managerFor(const char* caller)
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
    if (cInstallMgr* manager = managerFor("connectSlots()"))
        manager->connectSlots(receiver, startSlot, progressSlot, finishedSlot);
}

bool IInstallMgr::installDropbox()
{
    cInstallMgr* manager = managerFor("installDropbox()");
    return manager && manager->installDropbox();
}

bool IInstallMgr::installFromLocation(const QString& path, bool consume)
{
    cInstallMgr* manager = managerFor("installFromLocation()");
    return manager && manager->installFromLocation(path, consume);
}

bool IInstallMgr::installBootstrap()
{
    cInstallMgr* manager = managerFor("installBootstrap()");
    return manager && manager->installBootstrap();
}

bool IInstallMgr::installPackage(const QString& path)
{
    cInstallMgr* manager = managerFor("installPackage()");
    return manager && manager->installPackage(path);
}

bool IInstallMgr::uninstallPlugins()
{
    cInstallMgr* manager = managerFor("uninstallPlugins()");
    return manager && manager->uninstallPlugins();
}

cInstallOutcome IInstallMgr::lastOutcome()
{
    const cInstallMgr* manager = cInstallMgr::instance();
    return manager ? manager->lastOutcome() : cInstallOutcome();
}

cVerifyOutcome IInstallMgr::verify()
{
    cInstallMgr* manager = managerFor("verify()");
    return manager ? manager->verify() : cVerifyOutcome();
}

cRepairOutcome IInstallMgr::repair()
{
    cInstallMgr* manager = managerFor("repair()");
    return manager ? manager->repair() : cRepairOutcome();
}

bool IInstallMgr::installUnsigned(const QString& path)
{
    cInstallMgr* manager = managerFor("installUnsigned()");
    return manager && manager->installUnsigned(path);
}
