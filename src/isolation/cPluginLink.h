#pragma once

#include "isolation/Frames.h"
#include "isolation/cPipe.h"

#include <QtCore/QHash>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QWaitCondition>

#include <deque>

/// Serves what the other side asks for and tells.
class IFrameHandler
{
public:
    /// Serves one frame, in the thread that cPluginLink tells of. What is written into @p answer is the answer, unless
    /// the kind of frame has none.
    virtual void serve(cFrameReader& frame, cFrameWriter& answer) = 0;

    /// The other side is gone. Called once, in the link's thread.
    virtual void onClosed() = 0;

protected:
    ~IFrameHandler() = default;
};

/**
 * The connection between a suite and the process of one plugin, as each of the two sees it.
 *
 * Requests may be made from any thread; they go over one connection, one frame after another. A thread that waits for
 * its answer serves, meanwhile, what the other side asks for while it works on that very request: so a call that comes
 * back is served where a local one would be, in the thread that has made the outer call, and two sides that call each
 * other do not wait for each other. Everything else is served in the link's own thread, in order: from its event loop,
 * and on the suite's side also while it waits for an answer itself, since it may be waited for.
 *
 * Of the threads that wait one reads, and hands the others what is theirs.
 */
class cPluginLink : public QObject
{
public:
    enum class Side { Suite, Plugin };

    /// Takes @p end over. The link belongs to the calling thread. @p handler must live until close().
    cPluginLink(qintptr end, Side side, IFrameHandler& handler);
    ~cPluginLink() override;

    enum Result { Answered, TooLate, TooLarge, Closed };

    /// Makes a request, and waits @p milliseconds at most for its answer.
    Result request(cFrameWriter& frame, int milliseconds, cFrameReader* answer);

    /// Sends what has no answer. @return false when it is too large, or the other side is gone.
    bool tell(cFrameWriter& frame);

    /// Serves what falls to the link's own thread, and tells the handler of the end when it has come. In that thread.
    void serveQueued();

    /// Ends the connection: whoever waits is told, and nothing is served any more. In the link's thread.
    void close();

private:
    struct Waiting
    {
        bool isAnswered = false;
        QByteArray answer;
        std::deque<QByteArray> within; // asked for by the other side while it works on the request
    };

    void await(Waiting& waiting, int milliseconds);
    bool send(const QByteArray& frame);
    void readAll(int milliseconds);
    void handOut();
    void handOut(const QByteArray& frame);
    void serve(const QByteArray& frame);
    void serveFirst(std::deque<QByteArray>& frames);
    void onReadable();
    void postServing();
    bool isOwnThread() const;
    quint32 servedNow() const;

    const Side m_side;
    IFrameHandler* m_handler;
    cPipe m_pipe;
    QObject* const m_notifier; // of the pipe

    QMutex m_writing; // held while a frame is sent

    QMutex m_lock; // guards what follows
    QWaitCondition m_changed;
    QHash<quint32, Waiting*> m_waiting;
    std::deque<QByteArray> m_queued; // for the link's own thread
    QByteArray m_in;                 // what has been read; used by who reads
    quint32 m_lastId = 0;
    bool m_isReading = false; // by some thread
    bool m_isPosted = false;  // the event loop will serve what is queued
    bool m_isClosed = false;
    bool m_isEndTold = false;
};
