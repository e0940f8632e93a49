#pragma once

#include "log/cLogLine.h"

#include <QtCore/QString>
#include <QtCore/QVector>

#include <atomic>
#include <memory>
#include <mutex>

/**
 * A log channel: its switch, its name, and the place where its lines are composed.
 *
 * Assigning one line to another makes two channels share that place. It is therefore reached through a pointer, and
 * lives as long as the channel that made it.
 *
 * The name, and whether lines are shown, are read and changed with the central's lock held.
 */
class cLogImpl
{
public:
    enum SwitchReading { ReadNow, ReadAtFirstUse };

    explicit cLogImpl(const QString& name, SwitchReading reading = ReadNow);
    cLogImpl(const cLogImpl&) = delete;
    cLogImpl& operator=(const cLogImpl&) = delete;

    /// Stores the switch in the settings.
    virtual ~cLogImpl();

    /// The system channel, "!": reads its switch when it is first used, and stores it when the library is unloaded.
    static cLogImpl& system();

    const QString& name() const { return m_name; }
    /// The name as lines begin with it; it may come from outside.
    const QString& shownName() const { return m_shownName; }
    const QByteArray& utf8Name() const { return m_utf8Name; }

    /// Whether its lines are shown instead of passed on as they are; see cFrameworkLog.
    bool isShown() const { return m_isShown; }
    void setShown() { m_isShown = true; }

    bool isEnabled() const { return m_isEnabled.load(std::memory_order_relaxed); }
    void setEnabled(bool isEnabled);

    /// Writes the switches of @p channels to the user's settings. @return why they are not kept; empty when they are.
    static QString storeSwitches(const QVector<const cLogImpl*>& channels);

    /// Where the channel's lines are composed at present.
    cLogLine& line() const { return *m_line.load(std::memory_order_acquire); }

    /// Waits for the line before it to end. @return where the next one is to be composed, locked.
    cLogLine& lockLine();

    /// Becomes the same as @p other in switch, name and place of composing; the central's lock is held.
    void assign(const cLogImpl& other);

private:
    void readSwitch();
    void readSwitchAtFirstUse();

    std::atomic<bool> m_isEnabled{true};
    QString m_name;
    QString m_shownName;
    QByteArray m_utf8Name; // of the shown name
    bool m_isShown = false;
    const std::unique_ptr<cLogLine> m_ownLine;
    std::atomic<cLogLine*> m_line;
    const SwitchReading m_reading;
    std::once_flag m_firstUse;
};
