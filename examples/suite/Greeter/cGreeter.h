#pragma once

#include <QtCore/QObject>

/**
 * The service "Greeter": greets people in the language of the machine, and remembers them from one run to the next.
 *
 * Every greeting is told as the event "Greeted" (name) of the event set "GreeterEvents".
 */
class cGreeter : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Greeter")

public:
    /// Greets @p name, of which it takes the first hundred characters; an empty name greets whom the setting
    /// "Greeter/Name" names.
    Q_INVOKABLE QString greet(const QString& name);

private:
    /// What @p guest hears at the first visit; each release has its own words.
    static QString greeting(const QString& guest);

    /// Counts a visit of @p name in the settings and gives its number.
    int countVisit(const QString& name);
};
