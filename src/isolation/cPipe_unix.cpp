#include "isolation/cPipe.h"

#include <QtCore/QSocketNotifier>

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

struct cPipe::Data
{
    int socket;
};

cPipe::Ends cPipe::makeEnds()
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return Ends();
    return {ends[0], ends[1]};
}

void cPipe::closeEnd(qintptr end)
{
    if (end != Invalid)
        ::close(int(end));
}

cPipe::cPipe(qintptr end) : d(new Data{int(end)})
{
    ::fcntl(d->socket, F_SETFL, ::fcntl(d->socket, F_GETFL) | O_NONBLOCK);
    ::fcntl(d->socket, F_SETFD, FD_CLOEXEC); // the plugin's own children have no part in it
}

cPipe::~cPipe()
{
    closeEnd(d->socket);
}

qint64 cPipe::read(char* to, qint64 most)
{
    const ssize_t got = ::recv(d->socket, to, size_t(most), 0);
    if (got > 0)
        return got;
    return got < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : -1;
}

qint64 cPipe::write(const char* bytes, qint64 size)
{
    const ssize_t taken = ::send(d->socket, bytes, size_t(size), MSG_NOSIGNAL);
    if (taken >= 0)
        return taken;
    return errno == EAGAIN || errno == EINTR ? 0 : -1;
}

void cPipe::wait(int what, int milliseconds)
{
    short events = 0;
    if (what & ForBytes)
        events |= POLLIN;
    if (what & ForRoom)
        events |= POLLOUT;
    pollfd waited{d->socket, events, 0};
    ::poll(&waited, 1, milliseconds);
}

void cPipe::shut()
{
    ::shutdown(d->socket, SHUT_RDWR);
}

QObject* cPipe::makeNotifier(QObject* parent, const std::function<void()>& call)
{
    auto* const notifier = new QSocketNotifier(d->socket, QSocketNotifier::Read, parent);
    QObject::connect(notifier, &QSocketNotifier::activated, parent, call);
    return notifier;
}

void cPipe::silence(QObject* notifier)
{
    static_cast<QSocketNotifier*>(notifier)->setEnabled(false);
}
