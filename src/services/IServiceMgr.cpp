#include <Norvale/IServiceMgr.h>

#include "services/cServiceMgr.h"

IServiceMgr::IServiceMgr() = default;

IServiceMgr::~IServiceMgr() = default;

IServiceMgr* IServiceMgr::instance()
{
    return cServiceMgr::current();
}
