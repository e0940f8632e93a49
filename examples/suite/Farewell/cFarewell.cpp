#include "cFarewell.h"

QString cFarewell::sayGoodbye(const QString& name)
{
    const QString guest = name.isEmpty() ? m_lastGuest : name;
    return guest.isEmpty() ? tr("Goodbye!") : tr("Goodbye, %1!").arg(guest);
}
