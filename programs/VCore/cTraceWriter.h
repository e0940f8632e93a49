#pragma once

#include <Norvale/IPluginMgr.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QVector>

/**
 * Writes when the suite's start and stop did what into a Chrome trace-event file, which any trace viewer shows on a
 * timeline: one complete event for each manifest read, library load, start and stop of a plugin, and for the host's own
 * steps around them.
 *
 * The file is whole JSON at every moment, however the process ends: a span is written when it begins, as one that is
 * unfinished and has lasted until the last begin of a span within it, and written over in its place when it ends. Times
 * count from the making of the writer.
 */
class cTraceWriter : public IPluginObserver
{
public:
    /// @p path is the file, which is made anew with the first span; empty for none.
    explicit cTraceWriter(const QString& path);

    void spanBegin(Span span, const QString& plugin) override;
    void spanEnd(Span span, const QString& plugin, bool ok) override;

    /// Begins a step of the host itself.
    void begin(const QString& name);

    /// Ends the innermost span that is open.
    void end(bool ok);

    /// Lets the spans that are open last until now. @return false when the file could not be written, now or before;
    /// @p error tells why.
    [[nodiscard]] bool finish(QString* error);

private:
    struct Record
    {
        QString name;
        QString category;
        QString plugin;
        qint64 begin;  // nanoseconds since the writer was made
        qint64 offset; // where it stands in the file
        int size;      // of the place that it has there
    };

    enum class Outcome { Unfinished, Failed, Done };

    void beginRecord(const QString& name, const QString& category, const QString& plugin);
    QByteArray text(const Record& record, Outcome outcome) const;
    void rewrite(const Record& record, Outcome outcome);
    void append(Record record);
    bool writeAt(qint64 offset, const QByteArray& bytes);

    QElapsedTimer m_clock;
    QFile m_file;
    QVector<Record> m_open; // the innermost last
    qint64 m_end = 0;       // of the last record in the file; the tail of the document follows
    QString m_error;
};
