#pragma once

#include "log/LineText.h"

#include <Norvale/cLogCentral.h>

#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QMutex>
#include <QtCore/QObject>

#include <atomic>
#include <functional>
#include <memory>

class cLogImpl;

/// The objects that have a method called for each line. Not locked: the central's lock is held around every call.
class cLogHooks
{
public:
    /// Sets or replaces the method of @p object; @p gone removes it when it is destroyed.
    void set(QObject* object, const char* method, const QMetaObject::Connection& gone);

    bool contains(QObject* object) const { return m_hooks.contains(object); }
    void replace(QObject* object, const char* method) { m_hooks[object].method = method; }
    void remove(QObject* object);

    /// Is told what a hook has thrown, with the hook's class.
    using Complaint = std::function<void(const QString& thrown)>;

    /// Calls the hooks in the order of their addresses, those of other threads later; one may remove itself or others
    /// meanwhile.
    void call(const cLogEntry& entry, const Complaint& complain);

private:
    struct Hook
    {
        QByteArray method; // a copy: the text may go with the library that it lies in
        QMetaObject::Connection gone;
    };
    QMap<QObject*, Hook> m_hooks;
};

/// What the central's lock guards: the registered channels and the sinks.
class cLogCentralData
{
public:
    QMutex lock; // taken after a channel's lock, never before one

    QMap<QString, cLogImpl*> channels; // never removed, and not owned: lines may outlive the central
    cLogHooks hooks;
    QList<cLogEntry> history;
    bool isDebuggerOutputOn = false;
    bool isHooksOnly = false;
    void (*lineOutput)(const cLogEntry& line) = nullptr; // null for the debugger

    /// Sends the bytes of a line to the sinks. Takes the lock.
    void output(const cLogImpl* channel, debugType level, const QByteArray& text);

    /// Whether there is a sink; the lock is held.
    bool isHeard() const;

    /// Closes the log file; the lock is held.
    void closeFile();

    /// Writes out what the log file still buffers; the lock is held.
    void writeOut();

    /// Takes the lock, writes that out, and from now on each line at once: the library is unloaded.
    void flushAtUnload();

    /// Opens a log file. @return false when that fails; the lock is held.
    bool openFile(const QString& path);

    bool isFileOpen(const QString& path) const { return m_file && m_file->fileName() == path; }

    /// Runs @p action with the lock held; at once when the calling thread is in a hook, and so holds it already.
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

    void showEntry(const cLogEntry& entry, const QString& shownChannel);
    void showOutside(const cLogEntry& entry, const QString& shownChannel) const;
    void remember(const cLogEntry& entry);
    void noteOfHook(const QString& message);
    void keepLine(const QByteArray& channel, qint64 time, const QByteArray& text);
    void writeToFile(const QByteArray& channel, qint64 time, const QByteArray& text);

    std::unique_ptr<QFile> m_file;
    cTimeText m_timeText;
    bool m_isFlushedAlways = false;
    std::atomic<Qt::HANDLE> m_caller{nullptr}; // the thread that calls the hooks at present
};
