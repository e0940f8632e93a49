#include "log/cLogCentralData.h"

#include "log/DebuggerOutput.h"
#include "log/LineText.h"
#include "log/cLogImpl.h"

#include <QtCore/QThread>

namespace {

constexpr int historyLimit = 10000;

/// How long the unloading of the library waits for a line that is being written, in milliseconds.
constexpr int unloadPatience = 1000;

/// A long message is converted in pieces of this many bytes.
constexpr int pieceLimit = 65536;

} // namespace

Qt::HANDLE cLogCentralData::currentThread()
{
    return QThread::currentThreadId();
}

void cLogCentralData::output(const cLogImpl* channel, debugType level, const QByteArray& text)
{
    if (!channel)
        qFatal("Called output without a logger!");
    const QMutexLocker locker(&lock);
    if (!isDebuggerOutputOn && !m_file)
        return;
    const qint64 time = QDateTime::currentMSecsSinceEpoch();
    if (isDebuggerOutputOn)
        showEntry(
            {channel->name(), currentThread(), QDateTime::fromMSecsSinceEpoch(time), level, LineText::message(text)});
    if (!m_file)
        return;
    writeToFile(channel->utf8Name(), time, text);
    if (level != debugInfo || m_isFlushedAlways)
        m_file->flush(); // the reason of a fatal end is on disk
}

void cLogCentralData::showEntry(const cLogEntry& entry)
{
    if (!isHooksOnly)
        writeDebuggerLine(LineText::forDebugger(entry.threadId, entry.channel, entry.message));
    m_caller.store(entry.threadId, std::memory_order_relaxed);
    hooks.call(entry);
    m_caller.store(nullptr, std::memory_order_relaxed);
    history.append(entry);
    if (history.size() > historyLimit)
        history.removeFirst();
}

void cLogCentralData::writeToFile(const QByteArray& channel, qint64 time, const QByteArray& text)
{
    LineText::Bytes line;
    LineText::appendFilePrefix(line, m_timeText.at(time), channel, currentThread());
    const char* message = text.constData();
    const char* const end = message + LineText::messageLength(text);
    do {
        const int length = int(qMin<qptrdiff>(end - message, pieceLimit));
        LineText::appendLatin1(line, message, length);
        m_file->write(line.constData(), line.size());
        line.clear();
        message += length;
    } while (message != end);
}

void cLogCentralData::closeFile()
{
    if (!m_file)
        return;
    m_file->flush();
    m_file->close();
    m_file.reset();
}

void cLogCentralData::flushForGood()
{
    // A thread that ends the process may hold the lock, as a hook that is called directly does.
    if (!lock.tryLock(unloadPatience))
        return;
    m_isFlushedAlways = true;
    if (m_file)
        m_file->flush();
    lock.unlock();
}

bool cLogCentralData::openFile(const QString& path)
{
    m_file = std::make_unique<QFile>(path);
    if (m_file->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        return true;
    m_file.reset();
    return false;
}
