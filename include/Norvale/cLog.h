#pragma once

#include <Norvale/NorvaleGlobal.h>
#include <Norvale/cDebug.h>

class cLogImpl;

/** @ingroup logging
 * A handle to a log channel.
 *
 * cLogCentral::log() hands it out. It is one pointer, copied freely, and it never owns the channel: channels live until
 * the process ends, and so any copy stays valid. All handles to one name speak of the same channel. Every function may
 * be called from any thread.
 *
 * @code
 * const cLog log = cLogCentral::log(QStringLiteral("Printing"));
 * log.info() << "pages:" << count << Qt::endl;
 * @endcode
 */
class NORVALE_EXPORT cLog
{
public:
    /// Makes a handle to the system channel "!".
    cLog();

    /// Makes another handle to the same channel.
    cLog(const cLog&) = default;

    /**
     * Turns to the channel of another handle.
     * @return this handle.
     */
    cLog& operator=(const cLog&) = default;

    /**
     * Starts a line that is dropped while the channel is disabled. The channel stays locked until the line is
     * destroyed; see cDebug.
     * @return the line.
     */
    cDebug info() const;

    /**
     * Starts a warning, written on a disabled channel too. The log file is flushed after it.
     * @return the line; the channel stays locked until it is destroyed.
     */
    cDebug warning() const;

    /**
     * Starts an error, written on a disabled channel too. The log file is flushed after it.
     * @return the line; the channel stays locked until it is destroyed.
     */
    cDebug error() const;

    /// Switches the channel on for this run; the stored switch is kept. See cLogCentral::enableLog().
    void enable();

    /// Switches the channel off for this run; the stored switch is kept. See cLogCentral::disableLog().
    void disable();

private:
    friend class cLogCentral;
    explicit cLog(cLogImpl& channel);

    cLogImpl* m_channel;
};
