#pragma once

#include <QtCore/QObject>

/// The service "Farewell": says goodbye, to the guest whom the greeter greeted last unless another is named.
class cFarewell : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Farewell")

public:
    /// A goodbye to @p name, else to the last guest, else to nobody in particular.
    Q_INVOKABLE QString sayGoodbye(const QString& name = QString());

    /// The event "Greeted" of the event set "GreeterEvents".
    Q_INVOKABLE void onGreeted(const QString& name) { m_lastGuest = name; }

private:
    QString m_lastGuest;
};
