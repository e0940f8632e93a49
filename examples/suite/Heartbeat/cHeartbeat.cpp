#include "cHeartbeat.h"

#include <Norvale/IServiceMgr.h>

namespace {
constexpr char IntervalKey[] = "Heartbeat/Interval";
constexpr int ShortestInterval = 10; // milliseconds; a busier heart would keep the host from its work
} // namespace

cHeartbeat::cHeartbeat(int interval, const cLog& log) : m_interval(qMax(ShortestInterval, interval)), m_log(log)
{
    connect(&m_timer, &QTimer::timeout, this, &cHeartbeat::beat);
    m_timer.start(m_interval);
    QString value;
    IServiceMgr::instance()->invoke("Settings", "value", Q_RETURN_ARG(QString, value), Q_ARG(QString, IntervalKey));
    onChanged(IntervalKey, value);
}

void cHeartbeat::onChanged(const QString& key, const QString& value)
{
    if (key != QLatin1String(IntervalKey))
        return;
    bool isNumber = false;
    const int interval = value.isEmpty() ? m_interval : value.toInt(&isNumber);
    if (!value.isEmpty() && (!isNumber || interval < ShortestInterval)) {
        m_log.warning() << IntervalKey << "must be" << ShortestInterval << "ms or more, not" << value << Qt::endl;
        return;
    }
    m_timer.start(interval);
}

void cHeartbeat::beat()
{
    ++m_beats;
    IServiceMgr::instance()->notify("HeartbeatEvents", "Beat", Q_ARG(int, m_beats));
}
