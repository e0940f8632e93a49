#pragma once

#include <Norvale/Corvane.h>
#include <Norvale/cLog.h>
#include <QtCore/QFile>
#include <QtCore/QObject>
#include <QtCore/QStringList>

/**
 * The service "Journal": a file that tells a person what the suite has been doing, one line for each thing.
 *
 * It listens to the event sets of the plugin manager and of the other plugins, hears of every new service, and takes
 * notes that plugins hand in.
 */
class cJournal : public QObject, public Corvane::ILocalSocketMessageHandler
{
    Q_OBJECT
    Q_CLASSINFO("service", "Journal")

public:
    /// Keeps the last @p keptLines lines in memory.
    cJournal(int keptLines, const cLog& log);

    /// Begins to write to @p path. A file of more than @p largestFile bytes becomes "*.old" first, replacing that one.
    bool open(const QString& path, qint64 largestFile);

    /// Adds a line in the name of @p who.
    Q_INVOKABLE void note(const QString& who, const QString& what);

    /// The newest lines, at most @p count, oldest first, each "time  who: what".
    Q_INVOKABLE QStringList last(int count) const;

    /// Notes the announcement of a new service; other messages are not for the journal.
    void handleMessage(int connectionId, const cJsonValue& message) override;

    /// Events. Each set is listened to with a prefix of its own, so that equal event names do not meet.
    Q_INVOKABLE void hostLoadPluginCategoryCompleted(const QString& category);
    Q_INVOKABLE void settingsChanged(const QString& key, const QString& value);
    Q_INVOKABLE void heartbeatBeat(int count);
    Q_INVOKABLE void greeterGreeted(const QString& name);

private:
    QFile m_file;
    QStringList m_lines;
    int m_keptLines;
    cLog m_log;
};
