#include "SettingsSandbox.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>

// The settings of Windows stand in its registry, and child processes can be sent to no other one. So the sandbox is the
// registry itself, emptied before and after; CTest runs no two tests with a sandbox at a time.

namespace {

constexpr char Mark[] = "NorvaleTests";

QStringList keys()
{
    return {QStringLiteral("HKEY_LOCAL_MACHINE\\Software\\Varkel"),
            QStringLiteral("HKEY_CURRENT_USER\\Software\\Varkel"),
            QStringLiteral("HKEY_CURRENT_USER\\Software\\NorvaleTests")};
}

/// Real settings of the product are no test's to remove. A mark tells that a test which was killed left them.
void takeOver(const QString& key)
{
    QSettings settings(key, QSettings::NativeFormat);
    if (!settings.allKeys().isEmpty() && !settings.contains(QLatin1String(Mark)))
        qFatal("%s has settings of an installed product: the tests do not run beside it", qPrintable(key));
    settings.clear();
    settings.setValue(QLatin1String(Mark), true);
    settings.sync();
    if (settings.status() != QSettings::NoError)
        qFatal("%s cannot be written: the tests need that", qPrintable(key));
}

void removeData()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    for (const char* organization : {"/Varkel", "/NorvaleTests"})
        QDir(folder + QLatin1String(organization)).removeRecursively();
}

} // namespace

SettingsSandbox::SettingsSandbox()
{
    for (const QString& key : keys())
        takeOver(key);
    removeData();
    qputenv("JOURNAL_WRITER", QFile::encodeName(QFileInfo(QStringLiteral(JOURNAL_PROGRAM)).absoluteFilePath()));
    QCoreApplication::setOrganizationName(QStringLiteral("NorvaleTests"));
    QCoreApplication::setApplicationName(QStringLiteral("Fixture"));
}

SettingsSandbox::~SettingsSandbox()
{
    for (const QString& key : keys())
        QSettings(key, QSettings::NativeFormat).clear();
    removeData();
}

void SettingsSandbox::useDataBelow(const QString&)
{
    removeData();
}
