#include "isolation/cPipe.h"

#include <QtCore/QUuid>
#include <QtCore/QWinEventNotifier>

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstring>

namespace {

constexpr DWORD PipeBuffer = 64 * 1024;

/// One transfer that the system may be busy with: it has a buffer of its own, which must stay until it is done. What a
/// thread has begun is given up by the system when that thread ends, and is begun again.
struct Transfer
{
    Transfer() { over.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr); }
    ~Transfer() { CloseHandle(over.hEvent); }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    OVERLAPPED over{};
    char buffer[PipeBuffer];
    DWORD size = 0; // of what is in the buffer
    DWORD at = 0;   // what of it has been taken
    bool isGoingOn = false;
};

} // namespace

struct cPipe::Data
{
    HANDLE pipe;
    Transfer in;
    Transfer out;
    std::atomic<bool> isClosed{false};

    bool beginRead();
    bool beginWrite();
    bool finish(Transfer& transfer, DWORD* size, bool (Data::*again)());
};

bool cPipe::Data::beginRead()
{
    in.isGoingOn = ReadFile(pipe, in.buffer, PipeBuffer, nullptr, &in.over) || GetLastError() == ERROR_IO_PENDING;
    isClosed = isClosed || !in.isGoingOn;
    return in.isGoingOn;
}

bool cPipe::Data::beginWrite()
{
    out.isGoingOn = WriteFile(pipe, out.buffer + out.at, out.size - out.at, nullptr, &out.over) ||
                    GetLastError() == ERROR_IO_PENDING;
    return out.isGoingOn;
}

/// @return whether the transfer is done; it is not when it has been given up, either, and @p size is 0 then.
bool cPipe::Data::finish(Transfer& transfer, DWORD* size, bool (Data::*again)())
{
    *size = 0;
    if (GetOverlappedResult(pipe, &transfer.over, size, FALSE)) {
        transfer.isGoingOn = false;
        return true;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_IO_INCOMPLETE)
        return false;
    transfer.isGoingOn = false;
    if (error == ERROR_OPERATION_ABORTED && (this->*again)())
        return false;
    isClosed = true;
    return true;
}

cPipe::Ends cPipe::makeEnds()
{
    const QString name = QStringLiteral("\\\\.\\pipe\\norvale-") + QUuid::createUuid().toString(QUuid::Id128);
    const auto* const path = reinterpret_cast<const wchar_t*>(name.utf16());
    const DWORD mode = PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE;
    const HANDLE own = CreateNamedPipeW(path, mode, PIPE_TYPE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1,
                                        PipeBuffer, PipeBuffer, 0, nullptr);
    if (own == INVALID_HANDLE_VALUE)
        return Ends();
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    const HANDLE other =
        CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, &inherited, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    if (other == INVALID_HANDLE_VALUE) {
        CloseHandle(own);
        return Ends();
    }
    return {reinterpret_cast<qintptr>(own), reinterpret_cast<qintptr>(other)};
}

void cPipe::closeEnd(qintptr end)
{
    if (end != Invalid)
        CloseHandle(reinterpret_cast<HANDLE>(end));
}

cPipe::cPipe(qintptr end) : d(new Data)
{
    d->pipe = reinterpret_cast<HANDLE>(end);
    SetHandleInformation(d->pipe, HANDLE_FLAG_INHERIT, 0); // the plugin's own children have no part in it
}

cPipe::~cPipe()
{
    CancelIoEx(d->pipe, nullptr);
    DWORD size = 0;
    for (Transfer* transfer : {&d->in, &d->out}) {
        if (transfer->isGoingOn)
            GetOverlappedResult(d->pipe, &transfer->over, &size, TRUE);
    }
    CloseHandle(d->pipe);
}

qint64 cPipe::read(char* to, qint64 most)
{
    Transfer& in = d->in;
    while (in.at == in.size) {
        if (!in.isGoingOn && (d->isClosed || !d->beginRead()))
            return -1;
        DWORD size = 0;
        if (!d->finish(in, &size, &Data::beginRead))
            return 0;
        if (d->isClosed)
            return -1;
        in.at = 0;
        in.size = size;
    }
    const DWORD taken = DWORD(std::min<qint64>(most, in.size - in.at));
    std::memcpy(to, in.buffer + in.at, taken);
    in.at += taken;
    if (in.at == in.size)
        d->beginRead(); // so that the event tells when more comes
    return taken;
}

qint64 cPipe::write(const char* bytes, qint64 size)
{
    Transfer& out = d->out;
    if (out.isGoingOn) {
        DWORD written = 0;
        if (!d->finish(out, &written, &Data::beginWrite))
            return 0;
        out.at += written;
    }
    if (d->isClosed)
        return -1;
    if (out.at < out.size)
        return d->beginWrite() ? 0 : -1;
    out.at = 0;
    out.size = DWORD(std::min<qint64>(size, PipeBuffer));
    std::memcpy(out.buffer, bytes, out.size);
    return d->beginWrite() ? out.size : -1;
}

void cPipe::wait(int what, int milliseconds)
{
    HANDLE events[2];
    DWORD count = 0;
    if (what & ForBytes) {
        if (d->in.at < d->in.size || (!d->in.isGoingOn && !d->beginRead()))
            return;
        events[count++] = d->in.over.hEvent;
    }
    if ((what & ForRoom) && d->out.isGoingOn)
        events[count++] = d->out.over.hEvent;
    if (count > 0)
        WaitForMultipleObjects(count, events, FALSE, milliseconds < 0 ? INFINITE : DWORD(milliseconds));
}

void cPipe::shut()
{
    CancelIoEx(d->pipe, nullptr);
    DisconnectNamedPipe(d->pipe); // of the suite's end; that of the plugin closes with its process
    d->isClosed = true;
}

QObject* cPipe::makeNotifier(QObject* parent, const std::function<void()>& call)
{
    if (!d->in.isGoingOn && d->in.at == d->in.size)
        d->beginRead();
    auto* const notifier = new QWinEventNotifier(d->in.over.hEvent, parent);
    QObject::connect(notifier, &QWinEventNotifier::activated, parent, call);
    return notifier;
}

void cPipe::silence(QObject* notifier)
{
    static_cast<QWinEventNotifier*>(notifier)->setEnabled(false);
}
