#pragma once

#include <QtCore/QtGlobal>

#include <functional>
#include <memory>

class QObject;

/**
 * One end of a connection between two processes of one machine: a local socket, or a named pipe on Windows. Bytes go
 * both ways.
 *
 * Nothing waits but wait(). One thread reads at a time and one writes, each may be any.
 */
class cPipe
{
public:
    /// The two ends of a new connection, as the system names them; Invalid when there is none.
    static constexpr qintptr Invalid = -1;
    struct Ends
    {
        qintptr own = Invalid;
        qintptr other = Invalid; // is handed on to a child process
    };
    static Ends makeEnds();

    /// Closes an end that no object has taken.
    static void closeEnd(qintptr end);

    /// Takes over @p end.
    explicit cPipe(qintptr end);
    ~cPipe();
    cPipe(const cPipe&) = delete;
    cPipe& operator=(const cPipe&) = delete;

    /// @return how many bytes have been read; 0 when none are there now, -1 when no more will come.
    qint64 read(char* to, qint64 most);

    /// @return how many bytes have been taken; 0 when there is no room now, -1 when the other end is gone.
    qint64 write(const char* bytes, qint64 size);

    enum What { ForBytes = 1, ForRoom = 2 };

    /// Waits until there is one of what is named by @p what, or the other end is gone, @p milliseconds at most.
    void wait(int what, int milliseconds);

    /// Ends the connection for both sides; whoever waits for this end is woken. The object stays.
    void shut();

    /// Makes the notifier that has @p call called from the event loop of the calling thread when there is something to
    /// read. Its owner is @p parent; it has to be destroyed before this object.
    QObject* makeNotifier(QObject* parent, const std::function<void()>& call);

    /// Has a notifier never call again. In its thread.
    static void silence(QObject* notifier);

private:
    struct Data;
    std::unique_ptr<Data> d;
};
