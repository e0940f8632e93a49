#include "log/cLogCentralData.h"

#include "log/DebuggerOutput.h"
#include "log/LineText.h"
#include "log/cLogImpl.h"

#include <QtCore/QThread>

namespace {

constexpr int historyLimit = 10000;

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
    const cLogEntry entry{channel->name(), currentThread(), QDateTime::currentDateTime(), level,
                          LineText::message(text)};
    if (isDebuggerOutputOn)
        showEntry(entry);
    if (m_file)
        writeToFile(entry);
}

void cLogCentralData::showEntry(const cLogEntry& entry)
{
    writeDebuggerLine(LineText::forDebugger(entry.threadId, entry.channel, entry.message));
    m_caller.store(entry.threadId, std::memory_order_relaxed);
    hooks.call(entry);
    m_caller.store(nullptr, std::memory_order_relaxed);
    history.append(entry);
    if (history.size() > historyLimit)
        history.removeFirst();
}

void cLogCentralData::writeToFile(const cLogEntry& entry)
{
    m_file->write(LineText::forFile(entry.time, entry.channel, entry.threadId, entry.message));
    if (entry.level != debugInfo)
        m_file->flush();
}

void cLogCentralData::closeFile()
{
    if (!m_file)
        return;
    m_file->flush();
    m_file->close();
    m_file.reset();
}

bool cLogCentralData::openFile(const QString& path)
{
    m_file = std::make_unique<QFile>(path);
    if (m_file->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        return true;
    m_file.reset();
    return false;
}
