#include "wire/LastBytes.h"

#include <QtCore/QScopedPointer>
#include <QtCore/QThread>
#include <QtNetwork/QLocalSocket>

#include <windows.h>

void waitUntilRead(const QLocalSocket& socket, int milliseconds)
{
    const HANDLE pipe = reinterpret_cast<HANDLE>(socket.socketDescriptor());
    const QScopedPointer<QThread> reading(QThread::create([pipe] { FlushFileBuffers(pipe); }));
    reading->start();
    if (!reading->wait(static_cast<unsigned long>(milliseconds)))
        DisconnectNamedPipe(pipe); // nothing else ends the waiting for a client that does not read
    reading->wait();
}
