#include "core/Files.h"

#include <QtCore/QSettings>

namespace {
const QLatin1String Product("HKEY_LOCAL_MACHINE\\SOFTWARE\\Varkel\\Pelmora");
const QLatin1String InstallDir("InstallDir");
} // namespace

QString installRecord()
{
    return QSettings(Product, QSettings::NativeFormat).value(InstallDir).toString();
}

QString installRecordPlace()
{
    return QStringLiteral("\"%1\" in %2").arg(InstallDir, Product);
}
