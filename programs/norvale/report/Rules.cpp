#include "report/Rules.h"

#include <QtCore/QStringList>

namespace {

struct Entry
{
    const char* name;
    Severity severity;
    const char* meaning;
};

constexpr Entry Entries[] = {
#define X(constant, name, severity, meaning) {name, Severity::severity, meaning},
    NORVALE_RULES(X)
#undef X
};

} // namespace

QString Rules::name(Rule rule)
{
    return QLatin1String(Entries[int(rule)].name);
}

Severity Rules::severity(Rule rule)
{
    return Entries[int(rule)].severity;
}

QString Rules::word(Severity severity)
{
    return severity == Severity::Error ? QStringLiteral("error") : QStringLiteral("warning");
}

QStringList Rules::table()
{
    QStringList lines;
    for (const Entry& entry : Entries) {
        lines.append(QStringLiteral("%1  %2  %3")
                         .arg(QLatin1String(entry.name), -26)
                         .arg(word(entry.severity), -7)
                         .arg(QLatin1String(entry.meaning)));
    }
    return lines;
}
