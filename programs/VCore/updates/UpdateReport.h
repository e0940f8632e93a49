#pragma once

#include "ExitCode.h"

#include <QtCore/QJsonObject>

/// What the object that a check or an update answers with means, for people and as exit code.
namespace UpdateReport {

/// The exit code. Ok is "there is an update" of a check, "it is ready for the next start" of an update.
ExitCode codeOf(const QJsonObject& result);

/// A table of the versions and the size, as far as they are known.
QString table(const QJsonObject& result);

/// What a check has found.
QString checked(const QJsonObject& result);

/// What an update has done, and what is to be done next.
QString updated(const QJsonObject& result);

/// A line about what an earlier update has fetched and the next start installs; empty when nothing waits.
QString waiting();

/// The member that tells the path of the setup program that an update has fetched.
extern const char SetupProgram[];

} // namespace UpdateReport
