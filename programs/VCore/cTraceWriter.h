#pragma once

#include <Norvale/IPluginMgr.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QVector>

/**
 * Records when the suite's start and stop did what, and writes it as a Chrome trace-event file, which any trace viewer
 * shows on a timeline: one complete event for each manifest read, library load, start and stop of a plugin, and for the
 * host's own steps around them.
 *
 * Times count from the making of the writer. A span that has not ended when the file is written is shown as lasting
 * until then and marked "unfinished", so that a start that never came back shows where it was.
 */
class cTraceWriter : public IPluginObserver
{
public:
    cTraceWriter();

    void spanBegin(Span span, const QString& plugin) override;
    void spanEnd(Span span, const QString& plugin, bool ok) override;

    /// Begins a step of the host itself.
    void begin(const QString& name);

    /// Ends the innermost span that is open.
    void end(bool ok);

    /// Writes all spans so far to @p path, as a whole or not at all. @return false with @p error telling why.
    [[nodiscard]] bool write(const QString& path, QString* error) const;

private:
    struct Record
    {
        QString name;
        QString category;
        QString plugin;
        qint64 begin; // nanoseconds since the writer was made
        qint64 end;   // the same; negative while the span is open
        bool ok;
    };

    void beginRecord(const QString& name, const QString& category, const QString& plugin);
    QByteArray document() const;

    QElapsedTimer m_clock;
    QVector<Record> m_records;
    QVector<int> m_open; // indices of the open records, the innermost last
};
