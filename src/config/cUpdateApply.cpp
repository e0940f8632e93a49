#include "config/cUpdateApply.h"

#include <Norvale/cLogCentral.h>

cUpdateApply::cUpdateApply(const cUpdateCheck& check)
    : m_check(check), m_log(cLogCentral::log(QStringLiteral("ConfigurationMgr")))
{
}

cUpdateApply::~cUpdateApply() = default;
