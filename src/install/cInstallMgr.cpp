#include "install/cInstallMgr.h"

#include <Norvale/cLogCentral.h>

namespace {
cInstallMgr* s_instance = nullptr;
}

cInstallMgr::cInstallMgr() : m_log(cLogCentral::log(QStringLiteral("InstallMgr")))
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
