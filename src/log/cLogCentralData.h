#pragma once

#include "log/cLogHooks.h"
#include "log/cTimeText.h"

#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QMutex>

#include <atomic>
#include <memory>

class cLogImpl;

/// What the central's lock guards: the registered channels and the sinks.
class cLogCentralData
{
public:
    /// Taken after a channel's lock, never before one.
    QMutex lock;

    /// Never removed, and not owned: lines may outlive the central.
    QMap<QString, cLogImpl*> channels;
    cLogHooks hooks;
    QList<cLogEntry> history;
    bool isDebuggerOutputOn = false;
    bool isHooksOnly = false;

    /// Sends the bytes of a line to the sinks. Takes the lock.
    void output(const cLogImpl* channel, debugType level, const QByteArray& text);

    /// Closes the log file; the lock is held.
    void closeFile();

    /// Writes out what the log file still buffers, and from now on each line at once: the library is unloaded.
    void flushForGood();

    /// Opens a log file. @return false when that fails; the lock is held.
    bool openFile(const QString& path);

    bool isFileOpen(const QString& path) const { return m_file && m_file->fileName() == path; }

    /// Runs @p action with the lock held, or, when the calling thread is a hook that holds it already, at once.
    template <typename Action>
    void lockedUnlessHeld(const Action& action)
    {
        if (m_caller.load(std::memory_order_relaxed) == currentThread()) {
            action();
            return;
        }
        const QMutexLocker locker(&lock);
        action();
    }

private:
    static Qt::HANDLE currentThread();

    void showEntry(const cLogEntry& entry);
    void writeToFile(const QByteArray& channel, qint64 time, const QByteArray& text);

    std::unique_ptr<QFile> m_file;
    cTimeText m_timeText;
    bool m_isFlushedAlways = false;
    std::atomic<Qt::HANDLE> m_caller{nullptr}; ///< The thread that calls the hooks at present.
};
