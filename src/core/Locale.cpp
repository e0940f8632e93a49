#include <Norvale/Corvane.h>

#include "core/Settings.h"

QString Corvane::currentLocale()
{
    return cMachineSettings().value(QLatin1String(SettingsKey::Locale)).toString();
}

QString Corvane::currentLocaleLanguage()
{
    return currentLocale().left(2);
}

QString Corvane::currentLocaleCountry()
{
    return currentLocale().right(2);
}

QString Corvane::currentRegion()
{
    return cMachineSettings().value(QLatin1String(SettingsKey::Region), QStringLiteral("varkel")).toString();
}

QLatin1String Corvane::currentPlatform()
{
    return QLatin1String("x64");
}
