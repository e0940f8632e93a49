#include "log/cLineStream.h"

#include "log/DebugStream.h"

#include <QtCore/QIODevice>
#include <QtCore/QLocale>
#include <QtCore/QTextCodec>

cLineStream::cLineStream(QIODevice& device) : m_device(device) {}

const QDebug& cLineStream::start()
{
    if (!m_stream || !renew())
        m_stream.emplace(&m_device);
    return *m_stream;
}

/// A manipulator of the caller's own can reach everything in a text stream; what no reset brings back is looked at.
bool cLineStream::renew()
{
    QTextStream& text = DebugStream::textStream(*m_stream);
    if (DebugStream::owners(*m_stream) > 1 || text.device() != &m_device || text.status() != QTextStream::Ok ||
        text.codec() != QTextCodec::codecForLocale() || text.locale() != QLocale::c())
        return false;
    flush();
    m_stream->resetFormat();
    return true;
}

void cLineStream::settle(QDebug line)
{
    if (m_stream && DebugStream::isSame(line, *m_stream) && DebugStream::owners(line) == 2)
        flush();
}

void cLineStream::flush()
{
    QTextStream& text = DebugStream::textStream(*m_stream);
    text.flush();
    text.seek(m_device.pos()); // forgets half a character that the conversion is still waiting to complete
}
