#include "cTraceWriter.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace {

const QByteArray Head = "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[";
const QByteArray Tail = "\n]}\n";
constexpr int MostDigits = 20; // of a duration; those of an open span has one

QString verb(IPluginObserver::Span span)
{
    switch (span) {
    case IPluginObserver::ReadManifest:
        return QStringLiteral("read manifest");
    case IPluginObserver::LoadLibrary:
        return QStringLiteral("load library");
    case IPluginObserver::StartPlugin:
        return QStringLiteral("start");
    case IPluginObserver::StopPlugin:
        return QStringLiteral("stop");
    }
    return QString();
}

} // namespace

cTraceWriter::cTraceWriter(const QString& path) : m_file(path)
{
    m_clock.start();
}

void cTraceWriter::spanBegin(Span span, const QString& plugin)
{
    beginRecord(verb(span) + QLatin1Char(' ') + plugin, verb(span), plugin);
}

void cTraceWriter::spanEnd(Span, const QString&, bool ok)
{
    end(ok);
}

void cTraceWriter::begin(const QString& name)
{
    beginRecord(name, QStringLiteral("host"), QString());
}

void cTraceWriter::end(bool ok)
{
    if (!m_open.isEmpty())
        rewrite(m_open.takeLast(), ok ? Outcome::Done : Outcome::Failed);
}

bool cTraceWriter::finish(QString* error)
{
    for (const Record& record : qAsConst(m_open))
        rewrite(record, Outcome::Unfinished);
    *error = m_error;
    return m_error.isEmpty();
}

void cTraceWriter::beginRecord(const QString& name, const QString& category, const QString& plugin)
{
    if (m_file.fileName().isEmpty())
        return;
    for (const Record& record : qAsConst(m_open))
        rewrite(record, Outcome::Unfinished);
    append({name, category, plugin, m_clock.nsecsElapsed(), 0, 0});
}

void cTraceWriter::append(Record record)
{
    const bool isFirst = m_end == 0;
    const QByteArray before = isFirst ? Head + '\n' : QByteArray(",\n");
    QByteArray bytes = text(record, Outcome::Unfinished);
    record.offset = m_end + before.size();
    record.size = bytes.size() + MostDigits;
    m_open.append(record);
    bytes = before + bytes.leftJustified(record.size);
    if (isFirst && m_error.isEmpty() &&
        !m_file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        m_error = QStringLiteral("cannot write the trace %1: %2").arg(m_file.fileName(), m_file.errorString());
    if (writeAt(m_end, bytes + Tail))
        m_end += bytes.size();
    else if (!isFirst && m_file.resize(m_end) && m_file.seek(m_end))
        m_file.write(Tail); // it had a place on the disk
}

void cTraceWriter::rewrite(const Record& record, Outcome outcome)
{
    const QByteArray bytes = text(record, outcome);
    if (bytes.size() <= record.size)
        writeAt(record.offset, bytes.leftJustified(record.size));
}

/// Writes in one go, so that nobody sees half of it. Does nothing once something has failed.
bool cTraceWriter::writeAt(qint64 offset, const QByteArray& bytes)
{
    if (!m_error.isEmpty())
        return false;
    if (m_file.seek(offset) && m_file.write(bytes) == bytes.size())
        return true;
    m_error = QStringLiteral("cannot write the trace %1: %2").arg(m_file.fileName(), m_file.errorString());
    return false;
}

QByteArray cTraceWriter::text(const Record& record, Outcome outcome) const
{
    QJsonObject args;
    if (!record.plugin.isEmpty())
        args.insert(QStringLiteral("plugin"), record.plugin);
    if (outcome == Outcome::Unfinished)
        args.insert(QStringLiteral("unfinished"), true);
    else
        args.insert(QStringLiteral("ok"), outcome == Outcome::Done);
    const QJsonObject event{{QStringLiteral("name"), record.name},
                            {QStringLiteral("cat"), record.category},
                            {QStringLiteral("ph"), QStringLiteral("X")},
                            {QStringLiteral("ts"), double(record.begin) / 1000},
                            {QStringLiteral("dur"), double(m_clock.nsecsElapsed() - record.begin) / 1000},
                            {QStringLiteral("pid"), QCoreApplication::applicationPid()},
                            {QStringLiteral("tid"), 1}, // all spans come from the main thread
                            {QStringLiteral("args"), args}};
    return QJsonDocument(event).toJson(QJsonDocument::Compact);
}
