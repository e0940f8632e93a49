#include "log/cLogLine.h"

#include <QtCore/QLocale>
#include <QtCore/QTextStream>
#include <QtCore/QThread>

#if QT_VERSION_MAJOR < 6
#include <QtCore/QTextCodec>
#endif

namespace {

// The bytes of a line keep their memory from line to line, unless one was long.
constexpr int UsualCapacity = 512;
constexpr int KeptCapacity = 65536;

// The stream of a QDebug is private. How many objects share it decides whether text that is left in it will be flushed
// by the object that is about to be destroyed. The explicit instantiation may name the private member; it stops
// compiling should Qt change it.
template <auto Member>
struct Access
{
    friend auto privateStream(const QDebug& debug) { return debug.*Member; }
};
template struct Access<&QDebug::stream>;
auto privateStream(const QDebug& debug);

/// How many objects share the stream of @p debug; 0 when it has been moved from.
int owners(const QDebug& debug)
{
    const auto stream = privateStream(debug);
    return stream ? stream->ref : 0;
}

/// The text stream below @p debug, which has not been moved from.
QTextStream& textStream(const QDebug& debug)
{
    return privateStream(debug)->ts;
}

// A line is written in UTF-8, so that no letter is lost, whatever the user's locale can write.
#if QT_VERSION_MAJOR < 6
QTextCodec* utf8()
{
    constexpr int Mib = 106;
    static QTextCodec* const codec = QTextCodec::codecForMib(Mib);
    return codec;
}

bool isUtf8(const QTextStream& text)
{
    return text.codec() == utf8();
}

void setUtf8(QTextStream& text)
{
    text.setCodec(utf8());
}
#else
bool isUtf8(const QTextStream& text)
{
    return text.encoding() == QStringConverter::Utf8;
}

void setUtf8(QTextStream& text)
{
    text.setEncoding(QStringConverter::Utf8);
}
#endif

} // namespace

const QDebug& cLineStream::start()
{
    if (!m_stream || !reset()) {
        m_stream.emplace(&m_device);
        setUtf8(textStream(*m_stream));
    }
    return *m_stream;
}

/// A manipulator of the caller's own can reach everything in a text stream. @return false when it has changed what no
/// reset brings back.
bool cLineStream::reset()
{
    const QTextStream& text = textStream(*m_stream);
    if (owners(*m_stream) > 1 || text.device() != &m_device || text.status() != QTextStream::Ok || !isUtf8(text) ||
        text.locale() != QLocale::c())
        return false;
    flush();
    m_stream->resetFormat();
    return true;
}

void cLineStream::finish(QDebug line)
{
    if (m_stream && privateStream(line) == privateStream(*m_stream) && owners(line) == 2)
        flush();
}

void cLineStream::flush()
{
    QTextStream& text = textStream(*m_stream);
    text.flush();
    text.seek(m_device.pos()); // forgets half a character that the conversion is still waiting to complete
}

cLogLine::cLogLine() : m_buffer(&m_text), m_stream(m_buffer)
{
    m_text.reserve(UsualCapacity);
    m_buffer.open(QIODevice::ReadWrite | QIODevice::Text);
}

void cLogLine::lock()
{
    m_lock.lock();
    m_holder.store(QThread::currentThreadId(), std::memory_order_relaxed);
}

void cLogLine::unlock()
{
    m_holder.store(nullptr, std::memory_order_relaxed);
    m_lock.unlock();
}

bool cLogLine::lockUnlessHeld()
{
    // Only the calling thread itself can have stored its own id, so a stale value never reads as held.
    if (m_holder.load(std::memory_order_relaxed) == QThread::currentThreadId())
        return false;
    lock();
    return true;
}

const QDebug& cLogLine::open()
{
    m_openNumber.store(++m_lastNumber, std::memory_order_relaxed);
    return m_stream.start();
}

bool cLogLine::claim(quint64 number)
{
    return m_openNumber.compare_exchange_strong(number, 0, std::memory_order_relaxed);
}

void cLogLine::clear(QDebug debug)
{
    if (m_text.capacity() > KeptCapacity) {
        m_text.clear();
        m_text.reserve(UsualCapacity);
    } else {
        m_text.resize(0);
    }
    m_buffer.seek(0);
    m_stream.finish(std::move(debug));
}
