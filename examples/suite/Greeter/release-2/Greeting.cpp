#include "../cGreeter.h"

QString cGreeter::greeting(const QString& guest)
{
    return tr("Welcome, %1! Please take a seat.").arg(guest);
}
