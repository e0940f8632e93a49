#include "cTraceWriter.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSaveFile>

namespace {

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

cTraceWriter::cTraceWriter()
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
    if (m_open.isEmpty())
        return;
    Record& record = m_records[m_open.takeLast()];
    record.end = m_clock.nsecsElapsed();
    record.ok = ok;
}

void cTraceWriter::beginRecord(const QString& name, const QString& category, const QString& plugin)
{
    m_open.append(m_records.size());
    m_records.append({name, category, plugin, m_clock.nsecsElapsed(), -1, false});
}

bool cTraceWriter::write(const QString& path, QString* error) const
{
    QSaveFile file(path);
    const QByteArray bytes = document();
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush() && file.commit())
        return true;
    *error = QStringLiteral("cannot write the trace %1: %2").arg(path, file.errorString());
    return false;
}

QByteArray cTraceWriter::document() const
{
    const qint64 now = m_clock.nsecsElapsed();
    const qint64 pid = QCoreApplication::applicationPid();
    QJsonArray events;
    for (const Record& record : m_records) {
        QJsonObject args;
        if (!record.plugin.isEmpty())
            args.insert(QStringLiteral("plugin"), record.plugin);
        if (record.end < 0)
            args.insert(QStringLiteral("unfinished"), true);
        else
            args.insert(QStringLiteral("ok"), record.ok);
        const qint64 end = record.end < 0 ? now : record.end;
        events.append(QJsonObject{{QStringLiteral("name"), record.name},
                                  {QStringLiteral("cat"), record.category},
                                  {QStringLiteral("ph"), QStringLiteral("X")},
                                  {QStringLiteral("ts"), double(record.begin) / 1000},
                                  {QStringLiteral("dur"), double(end - record.begin) / 1000},
                                  {QStringLiteral("pid"), pid},
                                  {QStringLiteral("tid"), 1}, // all spans come from the main thread
                                  {QStringLiteral("args"), args}});
    }
    return QJsonDocument(QJsonObject{{QStringLiteral("traceEvents"), events},
                                     {QStringLiteral("displayTimeUnit"), QStringLiteral("ms")}})
        .toJson(QJsonDocument::Compact);
}
