#include "common/ExitCode.h"

#include "common/Terminal.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QMap>
#include <QtCore/QStringList>

namespace {

struct Entry
{
    QLatin1String program;
    int code;
    QLatin1String meaning;
};

constexpr Entry Entries[] = {
#define X(program, name, number, meaning) {QLatin1String(#program), number, QLatin1String(meaning)},
    EXIT_CODES(X)
#undef X
};

} // namespace

QString exitCodeTable()
{
    QMap<int, QString> lines;
    for (const Entry& entry : Entries) {
        if (entry.program == QLatin1String("All") || entry.program == QCoreApplication::applicationName())
            lines.insert(entry.code, QStringLiteral("  %1  %2").arg(entry.code, 2).arg(entry.meaning));
    }
    return QStringList(lines.values()).join(QLatin1Char('\n'));
}

ExitCode endWith(ExitCode code, const QString& reason)
{
    Terminal::reason(reason);
    return code;
}
