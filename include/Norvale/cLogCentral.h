#pragma once

#include <Norvale/NorvaleGlobal.h>
#include <Norvale/cDebug.h>
#include <Norvale/cLog.h>
#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QString>

class QObject;
class cLogCentralData;

/// A line of the history, as cLogCentral::history() hands it out. @ingroup logging
struct cLogEntry
{
    QString channel;               ///< Name of the channel.
    Qt::HANDLE threadId = nullptr; ///< The thread that wrote the line.
    QDateTime time;                ///< Local time of writing.
    debugType level = debugInfo;   ///< Level of the line.
    QString message;               ///< Text of the line, with the line ends that it had.
};

/** @ingroup logging
 * The registry of the log channels and the place where their lines go.
 *
 * A finished line goes to up to three sinks: to the log file, when setLogFile() has opened one; and, when
 * setDebuggerOutput() has switched it on, to the debugger, to the hooks and into the history.
 *
 * - A line of the log file reads `<time>-<channel>(<thread id>):<message>`, the time as `Qt::TextDate` has it and the
 *   thread id in hexadecimal, in UTF-8. Line ends are those of the message, in the system's form. The file is flushed
 *   after each warning and error.
 * - A line for the debugger reads `T<thread id>:<channel>:<message>`, the thread id in decimal. Where there is no
 *   debugger to write to, it is a line on standard error.
 *
 * Letters arrive as they were streamed. What the framework itself logs may hold names from outside: in its own channels
 * control characters, line ends within a line, and marks that change the direction of text are shown escaped.
 *
 * There is one central in a process; it is made when it is first needed and stays. All functions may be called from any
 * thread, but never from a hook that is called directly: sinks and registry share one lock, which is held meanwhile.
 *
 * @code
 * cLogCentral::setLogFile(QStringLiteral("/var/log/suite.log"));
 * cLogCentral::log(QStringLiteral("Printing")).info() << "ready" << Qt::endl;
 * @endcode
 */
class NORVALE_EXPORT cLogCentral
{
public:
    /**
     * Makes the central, if there is none yet.
     * @return true when there is one afterwards, which is always.
     */
    static bool initialize();

    /**
     * The central, made when there is none yet.
     * @return the central; it belongs to the library.
     */
    static cLogCentral* instance();

    /**
     * Looks up a channel, and creates it at the first request; its switch is then read from the user's settings (key
     * "enabled" of the group "Log/<name>", true when absent).
     * @param name name of the channel; a "/" in it nests the settings group. Empty for the system channel.
     * @return a handle to the channel.
     */
    static cLog log(const QString& name);

    /**
     * The system channel, named "!". It exists from the start, is not stored by saveLogSettings(), reads its switch
     * when it is first used and stores it when the library is unloaded.
     * @return a handle to the channel.
     */
    static cLog sysLog();

    /**
     * Switches a channel on and stores the switch in the user's settings.
     * @param name name of the channel. One that does not exist yet is not created: only the stored switch changes.
     */
    static void enableLog(const QString& name);

    /**
     * Switches a channel off and stores the switch in the user's settings. Warnings and errors are still written.
     * @param name name of the channel. One that does not exist yet is not created: only the stored switch changes.
     */
    static void disableLog(const QString& name);

    /// Stores the switches of all channels but the system channel in the user's settings.
    static void saveLogSettings();

    /**
     * Opens, changes or closes the log file. A file that exists is appended to. The process ends through qFatal()
     * ("Failed to open log file ...") when the file cannot be opened; the file before it is closed by then.
     * @param path path of the file, absolute or relative to the working directory. The path of the open file changes
     *        nothing; an empty path closes the file.
     */
    static void setLogFile(const QString& path);

    /**
     * Switches the debugger output, the hooks and the history on or off. They are off at first.
     * @param isOn true for on.
     */
    static void setDebuggerOutput(bool isOn);

    /**
     * Keeps the lines from the debugger while setDebuggerOutput() is on, so that only the hooks and the history get
     * them: for a program that shows lines in its own way where the debugger output appears, too. Off at first.
     * @param isOn true for on.
     */
    static void setHooksOnly(bool isOn);

    /**
     * Has a method called for each line, while setDebuggerOutput() is on. It must have the signature
     * `(const QString& channel, Qt::HANDLE threadId, const QDateTime& time, debugType level, const QString& message)`
     * and be a slot or invokable; an object without such a method is skipped.
     *
     * An object of the thread that writes the line is called directly, with the central's lock held, so it must not
     * log; one of another thread is called through that thread's event loop.
     *
     * @param object the hook. It is not owned; its destruction removes it. Remove it earlier yourself when other
     * threads may log while it is being destroyed. Null is ignored.
     * @param method plain name of the method, without signature; only the pointer is kept, so it must stay valid. A
     * name given earlier for the same object is replaced.
     */
    static void addHook(QObject* object, const char* method);

    /**
     * Removes a hook.
     * @param object the hook; one that is unknown is ignored. Queued calls still reach it.
     */
    static void removeHook(QObject* object);

    /**
     * The lines that were written while setDebuggerOutput() was on.
     * @return a copy of the last 10000 entries, the oldest first.
     */
    static QList<cLogEntry> history();

    /**
     * Has a function of the program show each line in place of the debugger, while setDebuggerOutput() is on. Unlike a
     * hook it is called the moment the line is written, whichever thread writes it, so that it shows also what is
     * written just before the process ends, or while the main thread hangs.
     * @param show called with the central's lock held: it must neither log nor throw. Null, as at first, leaves the
     * lines to the debugger.
     */
    static void setLineOutput(void (*show)(const cLogEntry& line));

private:
    friend class cDebug;
    friend class cFrameworkLog;

    cLogCentral();
    ~cLogCentral();
    cLogCentral(const cLogCentral&) = delete;
    cLogCentral& operator=(const cLogCentral&) = delete;

    cLogCentralData* const d;
};
