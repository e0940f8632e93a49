#include "HostSystem.h"

#include <QtCore/QDir>
#include <QtCore/QScopedPointer>
#include <QtCore/QThread>
#include <QtNetwork/QLocalSocket>

#include <windows.h>

QString HostSystem::userFolder(QString*)
{
    return QDir::tempPath(); // the temporary folder is the user's own here
}

QString HostSystem::socketName(const QString&, const QString& baseName)
{
    return baseName; // pipes have no folders
}

QString HostSystem::userPart()
{
    return QDir::homePath();
}

QString HostSystem::comparable(const QString& path)
{
    return path.toLower(); // the same folder in whatever case it is written
}

void HostSystem::waitUntilRead(const QLocalSocket& socket, int milliseconds)
{
    const HANDLE pipe = reinterpret_cast<HANDLE>(socket.socketDescriptor());
    const QScopedPointer<QThread> reading(QThread::create([pipe] { FlushFileBuffers(pipe); }));
    reading->start();
    if (!reading->wait(static_cast<unsigned long>(milliseconds)))
        DisconnectNamedPipe(pipe); // nothing else ends the waiting for a client that does not read
    reading->wait();
}

// A program for Windows may be made by one compiler, and what it loads by another.
QString HostSystem::demangled(const QString& symbol)
{
    return symbol;
}

void HostSystem::openNoWindowAtCrash()
{
    SetErrorMode(SetErrorMode(0) | SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX); // children inherit it
}
