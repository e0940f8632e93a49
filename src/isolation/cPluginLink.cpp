#include "isolation/cPluginLink.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>
#include <QtCore/QtEndian>

namespace {

constexpr int ReadSize = 64 * 1024;

/// How long the suite tries to send a frame, milliseconds: a plugin that does not read at all keeps nobody longer. A
/// plugin waits as long as it takes.
constexpr int SendLimit = 30000;

bool hasAnswer(FrameKind kind)
{
    return kind != FrameKind::Answer && kind != FrameKind::Event && kind != FrameKind::Log;
}

/// The request that the calling thread serves, the innermost first; each link has its own numbers.
struct Serving
{
    Serving(const cPluginLink* ofLink, quint32 number) : link(ofLink), id(number), outer(s_innermost)
    {
        s_innermost = this;
    }
    ~Serving() { s_innermost = outer; }
    Serving(const Serving&) = delete;
    Serving& operator=(const Serving&) = delete;

    const cPluginLink* const link;
    const quint32 id;
    Serving* const outer;
    static thread_local Serving* s_innermost;
};

thread_local Serving* Serving::s_innermost = nullptr;

} // namespace

cPluginLink::cPluginLink(qintptr end, Side side, IFrameHandler& handler)
    : m_side(side), m_handler(&handler), m_pipe(end), m_notifier(m_pipe.makeNotifier(this, [this] { onReadable(); }))
{
}

cPluginLink::~cPluginLink()
{
    delete m_notifier; // before the pipe
}

bool cPluginLink::isOwnThread() const
{
    return thread() == QThread::currentThread();
}

quint32 cPluginLink::servedNow() const
{
    for (const Serving* serving = Serving::s_innermost; serving; serving = serving->outer) {
        if (serving->link == this)
            return serving->id;
    }
    return 0;
}

cPluginLink::Result cPluginLink::request(cFrameWriter& frame, int milliseconds, cFrameReader* answer)
{
    Waiting waiting;
    quint32 id = 0;
    {
        const QMutexLocker locker(&m_lock);
        id = ++m_lastId;
        m_waiting.insert(id, &waiting);
    }
    const QByteArray& bytes = frame.finish(id, servedNow());
    const bool isSent = bytes.size() <= MaxFrame && send(bytes);
    if (isSent)
        await(waiting, milliseconds);
    const QMutexLocker locker(&m_lock);
    m_waiting.remove(id);
    if (waiting.isAnswered) {
        *answer = cFrameReader(waiting.answer);
        return Answered;
    }
    if (bytes.size() > MaxFrame)
        return TooLarge;
    return m_isClosed || !isSent ? Closed : TooLate;
}

/// Waits for the answer, and serves meanwhile what falls to this thread.
void cPluginLink::await(Waiting& waiting, int milliseconds)
{
    QElapsedTimer time;
    time.start();
    const bool servesAll = m_side == Side::Suite && isOwnThread();
    m_lock.lock();
    while (true) {
        if (!waiting.within.empty()) {
            serveFirst(waiting.within);
            continue;
        }
        if (servesAll && !m_queued.empty()) {
            serveFirst(m_queued);
            continue;
        }
        const qint64 left = milliseconds - time.elapsed();
        if (waiting.isAnswered || m_isClosed || left <= 0)
            break;
        if (m_isReading) {
            m_changed.wait(&m_lock, static_cast<unsigned long>(left));
            continue;
        }
        m_isReading = true;
        m_lock.unlock();
        readAll(int(left));
        m_lock.lock();
        handOut();
    }
    m_lock.unlock();
}

bool cPluginLink::tell(cFrameWriter& frame)
{
    const QByteArray& bytes = frame.finish(0, servedNow());
    return bytes.size() <= MaxFrame && send(bytes);
}

// Where there is no room, what comes from the other side is read meanwhile: it may have no room either.
bool cPluginLink::send(const QByteArray& frame)
{
    const QMutexLocker writer(&m_writing);
    QElapsedTimer time;
    time.start();
    int sent = 0;
    while (sent < frame.size()) {
        const qint64 taken = m_pipe.write(frame.constData() + sent, frame.size() - sent);
        sent += int(qMax<qint64>(taken, 0));
        if (taken > 0)
            continue;
        if (taken < 0 || (m_side == Side::Suite && time.elapsed() >= SendLimit)) {
            const QMutexLocker locker(&m_lock);
            m_isClosed = true; // the rest of the frame is missing: nothing that follows could be told apart
            m_changed.wakeAll();
            postServing();
            return false;
        }
        m_lock.lock();
        const bool reads = !m_isReading && !m_isClosed;
        m_isReading = m_isReading || reads;
        m_lock.unlock();
        m_pipe.wait(reads ? cPipe::ForBytes | cPipe::ForRoom : int(cPipe::ForRoom), 1000);
        if (reads) {
            readAll(0);
            m_lock.lock();
            handOut();
            m_lock.unlock();
        }
    }
    return true;
}

/// Reads what is there, after having waited for it; the thread has taken the reading upon itself.
void cPluginLink::readAll(int milliseconds)
{
    if (milliseconds > 0)
        m_pipe.wait(cPipe::ForBytes, milliseconds);
    char buffer[ReadSize];
    qint64 got = 0;
    do {
        got = m_pipe.read(buffer, ReadSize);
        m_in.append(buffer, int(qMax<qint64>(got, 0)));
    } while (got == ReadSize && m_in.size() < MaxFrame);
    if (got < 0) {
        const QMutexLocker locker(&m_lock);
        m_isClosed = true;
    }
}

/// Hands out the whole frames of what has been read, and gives the reading up. The lock is held.
void cPluginLink::handOut()
{
    int at = 0;
    while (m_in.size() - at >= FrameHeader) {
        const qint64 size = qint64(qFromLittleEndian<qint32>(m_in.constData() + at)) + 4;
        if (size < FrameHeader || size > MaxFrame) {
            m_isClosed = true; // no frame, and no telling where the next one begins
            break;
        }
        if (m_in.size() - at < size)
            break;
        handOut(at == 0 && m_in.size() == size ? m_in : m_in.mid(at, int(size)));
        at += int(size);
    }
    if (at == m_in.size())
        m_in = QByteArray();
    else
        m_in.remove(0, at);
    m_isReading = false;
    if (!m_waiting.isEmpty())
        m_changed.wakeAll();
    if (m_isClosed || !m_queued.empty())
        postServing();
}

void cPluginLink::handOut(const QByteArray& frame)
{
    const cFrameReader header(frame);
    if (header.kind() == FrameKind::Answer) {
        Waiting* const waiting = m_waiting.value(header.id());
        if (waiting) { // else nobody waits any more
            waiting->answer = frame;
            waiting->isAnswered = true;
        }
        return;
    }
    Waiting* const outer = m_waiting.value(header.within());
    (outer ? outer->within : m_queued).push_back(frame);
}

/// Takes the first of @p frames and serves it. The lock is held, but not while it is served.
void cPluginLink::serveFirst(std::deque<QByteArray>& frames)
{
    const QByteArray frame = frames.front();
    frames.pop_front();
    m_lock.unlock();
    serve(frame);
    m_lock.lock();
}

void cPluginLink::serve(const QByteArray& frame)
{
    cFrameReader reader(frame);
    cFrameWriter answer(FrameKind::Answer);
    {
        const Serving serving(this, reader.id());
        m_handler->serve(reader, answer);
    }
    if (hasAnswer(reader.kind()))
        send(answer.finish(reader.id(), 0));
}

void cPluginLink::onReadable()
{
    m_lock.lock();
    if (!m_isReading && !m_isClosed) {
        m_isReading = true;
        m_lock.unlock();
        readAll(0);
        m_lock.lock();
        handOut();
    }
    m_lock.unlock();
    serveQueued();
}

void cPluginLink::serveQueued()
{
    m_lock.lock();
    while (!m_queued.empty())
        serveFirst(m_queued);
    const bool isEnd = m_isClosed && !m_isEndTold;
    m_isEndTold = m_isEndTold || m_isClosed;
    m_lock.unlock();
    if (!isEnd)
        return;
    cPipe::silence(m_notifier); // it would tell of the end again and again
    m_handler->onClosed();
}

/// Has the event loop of the link's thread serve what is queued. The lock is held.
void cPluginLink::postServing()
{
    if (m_isPosted)
        return;
    m_isPosted = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_lock.lock();
            m_isPosted = false;
            m_lock.unlock();
            serveQueued();
        },
        Qt::QueuedConnection);
}

void cPluginLink::close()
{
    cPipe::silence(m_notifier);
    m_pipe.shut();
    const QMutexLocker locker(&m_lock);
    m_isClosed = true;
    m_isEndTold = true;
    m_queued.clear();
    m_changed.wakeAll();
}
