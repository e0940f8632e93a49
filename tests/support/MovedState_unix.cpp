#include "MovedState.h"

#include "Files.h"

void MovedState::addTo(QProcessEnvironment& environment, const QString& folder)
{
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder + QStringLiteral("/user"));
    environment.insert(QStringLiteral("XDG_CONFIG_DIRS"), folder + QStringLiteral("/machine"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), folder + QStringLiteral("/data"));
}

void MovedState::enter(const QString&) {}

QByteArray MovedState::machineSettings(const QString& folder)
{
    // Beside the file may lie a copy that Qt had not yet renamed.
    return readFile(folder + QStringLiteral("/machine/Varkel/Pelmora.conf"));
}

void MovedState::save(const QString&) {}
void MovedState::restore(const QString&) {}
void MovedState::remove(const QString&) {}
