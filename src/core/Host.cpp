#include <Norvale/Corvane.h>

#include "core/Settings.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>

void Corvane::setRestartOption(RestartOption)
{
    // Always 0, on purpose: only a host stores another value.
    cHostSettings().setValue(QLatin1String(SettingsKey::RestartOption), 0);
}

Corvane::RestartOption Corvane::restartOption()
{
    return RestartOption(cHostSettings().value(QLatin1String(SettingsKey::RestartOption), 0).toInt());
}

void Corvane::setRestartSetupFilename(const QString& name)
{
    cHostSettings().setValue(QLatin1String(SettingsKey::RestartFilename), name);
}

QString Corvane::restartSetupFilename()
{
    return cHostSettings().value(QLatin1String(SettingsKey::RestartFilename)).toString();
}

void Corvane::restart()
{
    QCoreApplication::exit(0);
}

bool Corvane::launchDetached(const QString& program, const QStringList& arguments)
{
    const QFileInfo file(program);
    const QString nativeProgram = QDir::toNativeSeparators(file.absoluteFilePath());
    const QString nativeFolder = QDir::toNativeSeparators(file.dir().absolutePath());
    return QProcess::startDetached(nativeProgram, arguments, nativeFolder);
}
