#include "install/cConditionScript.h"

#include <QtCore/QOperatingSystemVersion>

cConditionScript::~cConditionScript() = default;

bool cConditionScript::isWindows(int major, int minor)
{
    const QOperatingSystemVersion system = QOperatingSystemVersion::current();
    return system.type() == QOperatingSystemVersion::Windows && system.majorVersion() == major &&
           system.minorVersion() == minor;
}

cConditionScript::Result cConditionScript::failedAt(int line, const QString& message)
{
    Result result;
    result.error = QStringLiteral("line %1: %2").arg(QString::number(line), message);
    return result;
}
