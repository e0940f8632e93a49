#pragma once

#include <QtCore/QString>

class QLocalSocket;

/// What every system does for the host in its own way: HostSystem_unix.cpp and HostSystem_win.cpp.
namespace HostSystem {

/// The folder of the user's sockets and locks, which nobody else can enter; it is made when it is absent. Empty, with
/// @p error, when there is none.
QString userFolder(QString* error);

/// The full name of the socket @p baseName in @p folder.
QString socketName(const QString& folder, const QString& baseName);

/// Tells the user from others where the names of sockets do not lie in a folder of the user; empty where they do.
QString userPart();

/// The one spelling of @p path where the system knows a folder by several.
QString comparable(const QString& path);

/// Where the end of a connection takes with it what the other side has not read yet, waits until it has read all,
/// @p milliseconds at most. Does not wait for one who has read all.
void waitUntilRead(const QLocalSocket& socket, int milliseconds);

/// The name of a function as its author knows it, where @p symbol is one that a compiler of the system makes from such.
QString demangled(const QString& symbol);

/// From now on a crash of this process, or of one that it starts, opens no window that waits for somebody.
void openNoWindowAtCrash();

} // namespace HostSystem
