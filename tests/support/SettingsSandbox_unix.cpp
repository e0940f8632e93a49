#include "SettingsSandbox.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QSettings>

SettingsSandbox::SettingsSandbox()
{
    const QByteArray user = QFile::encodeName(m_dir.filePath(QStringLiteral("user")));
    const QByteArray machine = QFile::encodeName(m_dir.filePath(QStringLiteral("machine")));
    qputenv("XDG_CONFIG_HOME", user);
    qputenv("XDG_CONFIG_DIRS", machine);
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_dir.filePath(QStringLiteral("data"))));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(QStringLiteral("cache"))));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_dir.filePath(QStringLiteral("run"))));
    QDir().mkpath(m_dir.filePath(QStringLiteral("run")));
    QFile::setPermissions(m_dir.filePath(QStringLiteral("run")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QString::fromLocal8Bit(user));
    QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, QString::fromLocal8Bit(machine));
    QCoreApplication::setOrganizationName(QStringLiteral("NorvaleTests"));
    QCoreApplication::setApplicationName(QStringLiteral("Fixture"));
}

SettingsSandbox::~SettingsSandbox() = default;

void SettingsSandbox::useDataBelow(const QString& folder)
{
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder));
}
