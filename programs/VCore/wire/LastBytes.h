#pragma once

class QLocalSocket;

/// Where the end of a connection takes with it what the other side has not read yet, waits until it has read all,
/// @p milliseconds at most. Does not wait for one who has read all.
void waitUntilRead(const QLocalSocket& socket, int milliseconds);
