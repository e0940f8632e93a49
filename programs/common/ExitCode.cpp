#include "common/ExitCode.h"

#include "common/Terminal.h"

#include <QtCore/QCoreApplication>

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

QMap<int, QString> exitCodes()
{
    QMap<int, QString> codes;
    for (const Entry& entry : Entries) {
        const QLatin1String program(entry.program);
        if (program == QLatin1String("All") || program == QCoreApplication::applicationName())
            codes.insert(entry.code, QLatin1String(entry.meaning));
    }
    return codes;
}

ExitCode endWith(ExitCode code, const QString& reason)
{
    Terminal::error(reason);
    return code;
}
