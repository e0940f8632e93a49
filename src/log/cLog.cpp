#include <Norvale/cLog.h>

#include "log/cLogImpl.h"

cLog::cLog() : m_channel(&cLogImpl::system()) {}

cLog::cLog(cLogImpl& channel) : m_channel(&channel) {}

cDebug cLog::info() const
{
    return cDebug(*m_channel, debugInfo);
}

cDebug cLog::warning() const
{
    return cDebug(*m_channel, debugWarning);
}

cDebug cLog::error() const
{
    return cDebug(*m_channel, debugError);
}

void cLog::enable()
{
    m_channel->setEnabled(true);
}

void cLog::disable()
{
    m_channel->setEnabled(false);
}
