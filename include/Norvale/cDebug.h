#pragma once

#include <Norvale/NorvaleGlobal.h>
#include <QtCore/QDebug>
#include <QtCore/QMetaType>

class cLogImpl;
class cLogLine;

/** @ingroup logging
 * The level of a log line. It is registered with the meta-type system as "debugType", so it can travel through queued
 * calls.
 */
enum debugType {
    debugInfo = 0,    ///< Dropped while the channel is disabled.
    debugWarning = 1, ///< Always written, on a disabled channel too.
    debugError = 2    ///< Always written, on a disabled channel too.
};

Q_DECLARE_METATYPE(debugType)

/** @ingroup logging
 * A log line under composition.
 *
 * cLog::info(), cLog::warning() and cLog::error() hand one out; values are streamed into it as into any QDebug, and the
 * line is written when it is destroyed, usually at the end of the statement. End the line with `Qt::endl` (or
 * `Qt::flush`): only text that has been flushed belongs to this line. What has not been flushed becomes the beginning
 * of the next line of the channel.
 *
 * @code
 * log.warning() << "cannot read" << path << Qt::endl;
 * @endcode
 *
 * The channel is locked from the start of the line until the line is destroyed. A thread that starts a second line on a
 * channel while its first one is alive waits for itself forever.
 *
 * A line belongs to the thread that started it.
 */
class NORVALE_EXPORT cDebug : public QDebug
{
public:
    /**
     * Starts a line: waits until no other line of the channel is alive, and locks the channel.
     * @param channel the channel; it must outlive the line. Channels come from cLogCentral::log().
     * @param level the level of the line.
     */
    cDebug(cLogImpl& channel, debugType level);

    /**
     * Makes a second owner of the same line. Each of them writes what has been flushed by then when it is destroyed;
     * the channel is unlocked once, by the first.
     * @param other the line; it may be alive or, its first owner gone, already written.
     */
    cDebug(const cDebug& other);

    /**
     * Makes this line's channel the same as that of @p other: its switch, its name, and the place where its lines are
     * composed, together with the lock. That holds for every later line of the channel too. Then takes over the level.
     * What is streamed into this object still goes to where its own line began.
     * @param other the line to take after.
     * @return this line.
     */
    cDebug& operator=(const cDebug& other);

    /**
     * Writes what has been flushed to the sinks of cLogCentral, unless the level is `debugInfo` and the channel is
     * disabled; then empties the line and unlocks the channel. It cannot fail.
     */
    virtual ~cDebug();

private:
    cDebug(cLogImpl& channel, debugType level, cLogLine& line);

    cLogImpl& m_channel;
    debugType m_level;
    // Together they tell who holds the channel's lock.
    cLogLine* m_line; // where this line is composed
    quint64 m_number; // its number there
};
