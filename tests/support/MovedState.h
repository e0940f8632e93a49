#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QString>

/// Settings and data of child processes, moved below a folder, so that several can run at a time and be put back to an
/// earlier state. The data folder is FOLDER/data; the settings lie below FOLDER, or in a part of the registry that is
/// named after it.
namespace MovedState {

/// What the environment of a child needs.
void addTo(QProcessEnvironment& environment, const QString& folder);

/// What the child itself does first of all.
void enter(const QString& folder);

/// The machine-wide product settings, as text.
QByteArray machineSettings(const QString& folder);

/// Keeps what does not lie below the folder, and brings it back.
void save(const QString& folder);
void restore(const QString& folder);

/// Removes what does not lie below the folder.
void remove(const QString& folder);

} // namespace MovedState
