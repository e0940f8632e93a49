#pragma once

#include <QtCore/QStringList>
#include <QtTest/QtTest>

/// Why the running test function cannot hold on this system: the build says so to the program, from one list. Empty
/// when it can.
inline QString whyNotHere()
{
    const QString entry = QString::fromLatin1(QTest::currentTestFunction()) + QLatin1Char('=');
    for (const QString& listed : qEnvironmentVariable("NORVALE_NOT_HERE").split(QLatin1Char('|'))) {
        if (listed.startsWith(entry))
            return listed.mid(entry.size());
    }
    return QString();
}

/// Skips the running test function where the list names it.
#define SKIP_WHERE_LISTED()                                                                                            \
    do {                                                                                                               \
        const QString reason = whyNotHere();                                                                           \
        if (!reason.isEmpty())                                                                                         \
            QSKIP(qPrintable(reason));                                                                                 \
    } while (false)
