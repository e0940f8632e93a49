#pragma once

#include <QtCore/QObject>
#include <QtCore/QString>

/// The service that is called. Its methods write nothing, so that threads do not meet in it.
class cBenchService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Bench.Service")
    Q_CLASSINFO("threadsafe", "true")

public:
    Q_INVOKABLE int answer() const { return m_answer; }
    Q_INVOKABLE int sum(int number, const QString& text, double factor) const
    {
        return number + text.size() + int(factor);
    }

private:
    int m_answer = 42;
};

/// A listener that counts what it is told.
class cBenchListener : public QObject
{
    Q_OBJECT

public:
    qint64 total() const { return m_total; }

public Q_SLOTS:
    void onChanged(int amount) { m_total += amount; }

private:
    qint64 m_total = 0;
};
