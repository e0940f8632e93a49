#include <Norvale/cLog.h>

#include <Norvale/cDebug.h>
#include <Norvale/cLogCentral.h>

#include "log/cLogCentralData.h"
#include "log/cLogImpl.h"

#include <QtCore/QMutexLocker>

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

cDebug::cDebug(cLogImpl& channel, debugType level) : cDebug(channel, level, channel.lockLine()) {}

cDebug::cDebug(cLogImpl& channel, debugType level, cLogLine& line)
    : QDebug(line.open()), m_channel(channel), m_level(level), m_line(&line), m_number(line.openNumber())
{
}

cDebug::cDebug(const cDebug& other)
    : QDebug(other), m_channel(other.m_channel), m_level(other.m_level), m_line(other.m_line), m_number(other.m_number)
{
}

cDebug& cDebug::operator=(const cDebug& other)
{
    if (&m_channel != &other.m_channel) {
        const QMutexLocker locker(&cLogCentral::instance()->d->lock);
        m_channel.assign(other.m_channel);
    }
    // Nobody can reach the old lock any more, but threads may be waiting for it.
    if (m_line != &m_channel.line() && m_line->claim(m_number))
        m_line->unlock();
    m_line = other.m_line;
    m_number = other.m_number;
    m_level = other.m_level;
    return *this;
}

cDebug::~cDebug()
{
    cLogLine& line = m_channel.line();
    const bool isFirst = m_line == &line && line.claim(m_number);
    const bool isToUnlock = isFirst || line.lockUnlessHeld();
    if (m_level != debugInfo || m_channel.isEnabled())
        cLogCentral::instance()->d->output(&m_channel, m_level, line.text());
    line.clear(std::move(*this)); // while the lock is held: its owners are counted, its leftover flushed
    if (isToUnlock)
        line.unlock();
}
