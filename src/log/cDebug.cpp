#include <Norvale/cDebug.h>
#include <Norvale/cLogCentral.h>

#include "log/DebugStream.h"
#include "log/cLogCentralData.h"
#include "log/cLogImpl.h"

#include <QtCore/QMutexLocker>

namespace {

/// Text that was not flushed begins the channel's next line; only the last owner of the stream gives it away.
void flushLeftover(const QDebug& debug)
{
    if (DebugStream::owners(debug) == 1)
        DebugStream::textStream(debug).flush();
}

} // namespace

cDebug::cDebug(cLogImpl& channel, debugType level)
    : QDebug(channel.openLine())
    , m_channel(channel)
    , m_level(level)
    , m_line(&channel.line())
    , m_number(m_line->openNumber())
{
}

cDebug::cDebug(const cDebug& other)
    : QDebug(other), m_channel(other.m_channel), m_level(other.m_level), m_line(other.m_line), m_number(other.m_number)
{
}

cDebug& cDebug::operator=(const cDebug& other)
{
    if (&other.m_channel.line() != m_line) {
        {
            cLogCentralData& central = *cLogCentral::instance()->d;
            const QMutexLocker locker(&central.lock);
            m_channel.assign(other.m_channel);
        }
        // Nobody can reach the old lock any more, but threads may be waiting for it.
        if (m_line->claim(m_number))
            m_line->unlock();
    }
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
    line.clear();
    flushLeftover(*this);
    if (isToUnlock)
        line.unlock();
}
