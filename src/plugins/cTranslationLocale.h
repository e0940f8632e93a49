#pragma once

#include "core/Settings.h"

#include <QtCore/QString>

/**
 * The locale that plugins are translated into, as the machine-wide settings name it.
 *
 * While an object lives, the settings stay open: opening them asks the file system several times, which a start-up of
 * many plugins need not pay for each. What this process writes to the settings is seen at once all the same. Main
 * thread only; objects nest.
 */
class cTranslationLocale
{
public:
    cTranslationLocale();
    ~cTranslationLocale();
    cTranslationLocale(const cTranslationLocale&) = delete;
    cTranslationLocale& operator=(const cTranslationLocale&) = delete;

    /// @return the locale, such as "de_DE"; empty when none is set.
    static QString current();

private:
    static QString read(const QSettings& settings);

    cMachineSettings m_settings;
    cTranslationLocale* m_outer;
    static cTranslationLocale* s_innermost;
};
