#include "../cGreeter.h"

QString cGreeter::greeting(const QString& guest)
{
    return tr("Hello, %1!").arg(guest);
}
