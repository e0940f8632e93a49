#pragma once

#include <QtTest/QtTest>

/// Why the running test function, or its row, cannot hold on this system: the build says so to the program, from one
/// list. Empty when it can.
inline QString whyNotHere()
{
    const QString function = QString::fromLatin1(QTest::currentTestFunction());
    const QString row = function + QLatin1Char(':') + QString::fromUtf8(QTest::currentDataTag());
    for (const QString& listed : qEnvironmentVariable("NORVALE_NOT_HERE").split(QLatin1Char('|'))) {
        const QString place = listed.section(QLatin1Char('='), 0, 0);
        if (place == function || (place.contains(QLatin1Char(':')) && row.startsWith(place)))
            return listed.section(QLatin1Char('='), 1);
    }
    return QString();
}

/// Of very many cases that differ only in where a fault comes, each so-manieth is tried: all of them, but where one
/// takes long, under a sanitizer and on Windows, and with the second Qt, some.
#if defined(__SANITIZE_ADDRESS__) || defined(Q_OS_WIN)
constexpr int EachCase = 7;
#elif QT_VERSION_MAJOR >= 6
constexpr int EachCase = 3;
#else
constexpr int EachCase = 1;
#endif

/// Skips the running test function, or its row, where the list names it.
#define SKIP_WHERE_LISTED()                                                                                            \
    do {                                                                                                               \
        const QString reason = whyNotHere();                                                                           \
        if (!reason.isEmpty())                                                                                         \
            QSKIP(qPrintable(reason));                                                                                 \
    } while (false)
