#pragma once

#include "wire/cFrameDecoder.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QJsonObject>
#include <QtNetwork/QLocalSocket>

#include <functional>

class cHostAddress;

/**
 * The other end of the wire: connects to a running host, sends one message, and collects its answers until the host
 * says that all handlers have seen it. It waits without an event loop, and never beyond its time limit.
 */
class cHostClient
{
public:
    enum Outcome {
        Done,     // connected; or: every answer has come
        NoHost,   // nobody listens on the address
        TimedOut, // the time limit has passed
        Lost      // the connection broke
    };

    /// Called with an answer as it came, and as an object (empty when it is none).
    using AnswerFunction = std::function<void(const QByteArray& text, const QJsonObject& answer)>;

    /// @p milliseconds is the limit for everything until the last answer.
    explicit cHostClient(int milliseconds);

    Outcome connectTo(const cHostAddress& address);

    /// As connectTo(), but a host that does not listen yet is waited for, up to the limit.
    Outcome waitFor(const cHostAddress& address);

    /// Sends @p message and hands each answer to @p onAnswer. Announcements are no answers and are skipped.
    Outcome ask(const QByteArray& message, const AnswerFunction& onAnswer);

    /// Why the last outcome was not Done.
    QString errorString() const { return m_error; }

private:
    QString reasonFor(const cHostAddress& address) const;
    Outcome fail();
    bool sendAll(const QByteArray& message);
    bool takeAnswers(const AnswerFunction& onAnswer);

    QDeadlineTimer m_deadline;
    QLocalSocket m_socket;
    cFrameDecoder m_decoder;
    QString m_error;
};
