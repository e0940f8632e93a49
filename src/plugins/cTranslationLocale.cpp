#include "plugins/cTranslationLocale.h"

#include <QtCore/QVariant>

cTranslationLocale* cTranslationLocale::s_innermost = nullptr;

cTranslationLocale::cTranslationLocale() : m_outer(s_innermost)
{
    s_innermost = this;
}

cTranslationLocale::~cTranslationLocale()
{
    s_innermost = m_outer;
}

QString cTranslationLocale::current()
{
    return s_innermost ? read(s_innermost->m_settings) : read(cMachineSettings());
}

QString cTranslationLocale::read(const QSettings& settings)
{
    return settings.value(QLatin1String(SettingsKey::Locale)).toString();
}
