#include "log/cLogCentralData.h"

#include "log/cLastLines.h"
#include "log/cLogImpl.h"
#include "version/ForeignCode.h"
#include "version/Shown.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QThread>

namespace {

constexpr int HistoryLimit = 10000;
constexpr int UnloadTimeout = 1000; // milliseconds that the unloading of the library waits for a line being written
constexpr int PieceLimit = 65536;   // bytes of a long message that are converted at a time

bool hasMethod(const QObject* object, const char* method)
{
    const QByteArray signature = QByteArray(method) + "(QString,Qt::HANDLE,QDateTime,debugType,QString)";
    return object->metaObject()->indexOfMethod(QMetaObject::normalizedSignature(signature)) >= 0;
}

/// Calls a hook at once. @return what it has thrown, with the hook's class; empty when nothing.
QString callHook(QObject* object, const char* method, const cLogEntry& entry)
{
    const QLatin1String name(object->metaObject()->className()); // the object may be gone then
    try {
        QMetaObject::invokeMethod(
            object, method, Qt::DirectConnection, QGenericArgument("const QString", &entry.channel),
            QGenericArgument("Qt::HANDLE", &entry.threadId), QGenericArgument("const QDateTime", &entry.time),
            QGenericArgument("debugType", &entry.level), QGenericArgument("const QString", &entry.message));
        return QString();
    } catch (...) {
        const QString thrown = whatWasThrown();
        return QStringLiteral("The log hook %1 %2").arg(name, thrown);
    }
}

} // namespace

void cLogHooks::set(QObject* object, const char* method, const QMetaObject::Connection& gone)
{
    m_hooks.insert(object, Hook{method, gone});
}

void cLogHooks::remove(QObject* object)
{
    QObject::disconnect(m_hooks.take(object).gone);
}

void cLogHooks::call(const cLogEntry& entry, const Complaint& complain)
{
    const QMap<QObject*, Hook> hooks = m_hooks;
    for (auto it = hooks.begin(); it != hooks.end(); ++it) {
        QObject* const object = it.key();
        const QByteArray method = it->method;
        if (!m_hooks.contains(object) || !hasMethod(object, method))
            continue;
        const auto call = [object, method, entry, complain] {
            const QString thrown = callHook(object, method, entry);
            if (!thrown.isEmpty())
                complain(thrown);
        };
        if (object->thread() == QThread::currentThread())
            call();
        else
            QMetaObject::invokeMethod(object, call, Qt::QueuedConnection);
    }
}

Qt::HANDLE cLogCentralData::currentThread()
{
    return QThread::currentThreadId();
}

void cLogCentralData::output(const cLogImpl* channel, debugType level, const QByteArray& bytes)
{
    if (!channel)
        qFatal("Called output without a logger!");
    const QMutexLocker locker(&lock);
    if (!isHeard())
        return;
    const bool isKept = cLastLines::instance().isKept();
    const QByteArray text = channel->isShown() ? LineText::shownLine(bytes) : bytes;
    const qint64 time = QDateTime::currentMSecsSinceEpoch();
    if (isKept)
        keepLine(channel->utf8Name(), time, text); // before the hooks, which may crash
    if (isDebuggerOutputOn) {
        const QDateTime localTime = QDateTime::fromMSecsSinceEpoch(time);
        showEntry({channel->name(), currentThread(), localTime, level, LineText::message(text)}, channel->shownName());
    }
    if (!m_file)
        return;
    writeToFile(channel->utf8Name(), time, text);
    if (level != debugInfo || m_isFlushedAlways)
        m_file->flush(); // the reason of a fatal end is on disk
}

bool cLogCentralData::isHeard() const
{
    return isDebuggerOutputOn || m_file || cLastLines::instance().isKept();
}

void cLogCentralData::showEntry(const cLogEntry& entry, const QString& shownChannel)
{
    showOutside(entry, shownChannel);
    m_caller.store(entry.threadId, std::memory_order_relaxed);
    hooks.call(entry, [this](const QString& thrown) { lockedUnlessHeld([&] { noteOfHook(thrown); }); });
    m_caller.store(nullptr, std::memory_order_relaxed);
    remember(entry);
}

void cLogCentralData::showOutside(const cLogEntry& entry, const QString& shownChannel) const
{
    if (lineOutput)
        lineOutput(entry);
    else if (!isHooksOnly)
        writeDebuggerLine(LineText::forDebugger(entry.threadId, shownChannel, entry.message));
}

void cLogCentralData::remember(const cLogEntry& entry)
{
    history.append(entry);
    if (history.size() > HistoryLimit)
        history.removeFirst();
}

/// A line of the library's own that no hook is called for, since it tells of one; the lock is held.
void cLogCentralData::noteOfHook(const QString& message)
{
    const QString channel = QStringLiteral("Norvale");
    const QString line = shown(message);
    const QDateTime now = QDateTime::currentDateTime();
    const cLogEntry entry{channel, currentThread(), now, debugError, line};
    showOutside(entry, channel);
    remember(entry);
    if (cLastLines::instance().isKept())
        keepLine(channel.toUtf8(), now.toMSecsSinceEpoch(), line.toUtf8());
    if (!m_file)
        return;
    writeToFile(channel.toUtf8(), now.toMSecsSinceEpoch(), line.toUtf8() + LineText::end());
    m_file->flush();
}

/// Keeps a line as the log file has it, on one line and no longer than is kept.
void cLogCentralData::keepLine(const QByteArray& channel, qint64 time, const QByteArray& text)
{
    const int length = LineText::pieceLength(text.constData(), LineText::messageLength(text), cLastLines::LongestLine);
    QByteArray message = LineText::shownLine(text.left(length));
    while (message.endsWith('\n') || message.endsWith('\r'))
        message.chop(1);
    LineText::Bytes line;
    LineText::appendFilePrefix(line, m_timeText.at(time), channel, currentThread());
    LineText::appendUtf8(line, message.constData(), message.size());
    cLastLines::instance().add(line.constData(), line.size());
}

void cLogCentralData::writeToFile(const QByteArray& channel, qint64 time, const QByteArray& text)
{
    LineText::Bytes line;
    LineText::appendFilePrefix(line, m_timeText.at(time), channel, currentThread());
    const char* message = text.constData();
    const char* const end = message + LineText::messageLength(text);
    do {
        const int length = LineText::pieceLength(message, int(end - message), PieceLimit);
        LineText::appendUtf8(line, message, length);
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

void cLogCentralData::flushAtUnload()
{
    // A thread that ends the process may hold the lock, as a hook that is called directly does.
    if (!lock.tryLock(UnloadTimeout))
        return;
    m_isFlushedAlways = true;
    writeOut();
    lock.unlock();
}

void cLogCentralData::writeOut()
{
    if (m_file)
        m_file->flush();
}

bool cLogCentralData::openFile(const QString& path)
{
    m_file = std::make_unique<QFile>(path);
    // Not as text: the lines have the system's line ends already, and would get another CR.
    if (m_file->open(QIODevice::WriteOnly | QIODevice::Append))
        return true;
    m_file.reset();
    return false;
}
