#pragma once

#include <Norvale/IServiceMgr.h>

#include <QtCore/QString>

/// Names no id, so it cannot be registered.
class cUnnamed : public QObject
{
    Q_OBJECT
};

class cClock : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("threadsafe", "true")
    Q_CLASSINFO("service", "Clock")

public:
    Q_INVOKABLE int now() { return 12; }
    Q_INVOKABLE int add(int hours) { return 12 + hours; }
    Q_INVOKABLE QString add(const QString& text) { return QStringLiteral("12") + text; }
    /// Works on the registry from inside a call.
    Q_INVOKABLE bool handOverTo(QObject* other)
    {
        IServiceMgr* mgr = IServiceMgr::instance();
        mgr->unregisterService(this);
        mgr->registerService(other);
        return mgr->invoke(QStringLiteral("Alarm"), QStringLiteral("ring"));
    }
    void notInvokable() {}
};

class cSecondClock : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Clock")
    Q_CLASSINFO("threadsafe", "True")
};

/// Its own id is hidden by the base class's.
class cDerivedClock : public cClock
{
    Q_OBJECT
    Q_CLASSINFO("service", "DerivedClock")
};

class cAlarm : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Alarm")

public:
    int rung() const { return m_rung; }

public Q_SLOTS:
    void ring() { ++m_rung; }

private:
    int m_rung = 0;
};
