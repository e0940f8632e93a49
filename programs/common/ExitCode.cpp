#include "common/ExitCode.h"

#include "common/Terminal.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QMap>
#include <QtCore/QStringList>

namespace {

struct Entry
{
    const char* program;
    int code;
    const char* meaning;
};

constexpr Entry Entries[] = {
#define X(program, name, number, meaning) {#program, number, meaning},
    EXIT_CODES(X)
#undef X
};

} // namespace

QString exitCodeTable()
{
    QMap<int, QString> lines;
    for (const Entry& entry : Entries) {
        const QLatin1String program(entry.program);
        if (program == QLatin1String("All") || program == QCoreApplication::applicationName())
            lines.insert(entry.code, QStringLiteral("  %1  %2").arg(entry.code, 2).arg(QLatin1String(entry.meaning)));
    }
    return QStringList(lines.values()).join(QLatin1Char('\n'));
}

ExitCode endWith(ExitCode code, const QString& reason)
{
    Terminal::error(reason);
    return code;
}
