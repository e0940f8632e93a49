#pragma once

#include <Norvale/cLog.h>
#include <QtCore/QObject>
#include <QtCore/QTimer>

/**
 * The service "Heartbeat": the event "Beat" (count) of the event set "HeartbeatEvents" at a steady interval.
 *
 * The interval comes from the plugin's params; the setting "Heartbeat/Interval" overrides it, also while it beats.
 */
class cHeartbeat : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Heartbeat")

public:
    /// @param interval milliseconds between two beats.
    cHeartbeat(int interval, const cLog& log);

    /// Number of beats since the start.
    Q_INVOKABLE int beats() const { return m_beats; }

    /// Milliseconds between two beats.
    Q_INVOKABLE int interval() const { return m_timer.interval(); }

    /// The event "Changed" of the event set "SettingsEvents".
    Q_INVOKABLE void onChanged(const QString& key, const QString& value);

private:
    void beat();

    QTimer m_timer;
    int m_interval;
    int m_beats = 0;
    cLog m_log;
};
