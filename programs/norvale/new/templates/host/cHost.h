#pragma once

#include <Norvale/IPluginMgr.h>
#include <Norvale/cDebug.h>

#include <QtCore/QObject>
#include <QtCore/QStringList>

/**
 * The suite as this program runs it. There is one object, made after the application object and used by the main
 * thread:
 *
 * @code
 * cHost host;
 * const bool isStarted = host.initialize() && host.start({"base", "ui"});
 * const int code = isStarted ? app.exec() : 1;
 * return host.stop() ? code : 1;
 * @endcode
 */
class cHost : public QObject
{
    Q_OBJECT

public:
    /// What the program is called, on whose names settings and data folder depend. For main(), before all else.
    static void nameApplication();

    /// Begins to hand on the log, and keeps it in logFile().
    cHost();
    ~cHost() override;

    /// Where the log is kept.
    static QString logFile();

    /// Brings the framework up, without starting anything.
    bool initialize();

    /// Installs what an update has fetched, and starts the plugins: those of the load categories, those that load at
    /// every start, and what they need. @return false when the suite cannot run; the log tells why.
    bool start(const QStringList& categories);

    /// Stops the plugins. Where a restart is wanted it starts the program anew, or the setup program that an update
    /// needs.
    /// @return false when that cannot be started.
    bool stop();

    /// Fetches what is newer on the update sites. What is installed is left alone; the next start() installs it. Events
    /// are served meanwhile. @return true when something has been fetched; @p said is for people.
    bool update(QString* said);

    /// How far a plugin has come, in a word.
    static QString stateOf(const cPluginInfo& plugin);

    /// Ends the event loop, for stop() to start the program anew.
    void restart();

signals:
    /// A line of the log. What is connected must not log.
    void logged(const QString& line);

    /// Something of an update has arrived: so many bytes of @p total.
    void progressed(const QString& what, qint64 done, qint64 total);

    /// A plugin has started, failed or stopped: IPluginMgr::plugins() tells.
    void pluginsChanged();

private slots:
    void onLine(const QString& channel, Qt::HANDLE thread, const QDateTime& time, debugType level, const QString& text);

private:
    bool m_isRestartWanted = false;
};
