#pragma once

#include <QtCore/QProcess>
#include <QtCore/QStringList>

/// Programs of the machine that the tests run on, such as Python, which are found by their names.
namespace MachineProgram {

/// Starts @p program. Arguments that are absolute paths reach it in the machine's own form: tests of Windows programs
/// run under Wine, where the machine has other paths.
void start(QProcess& process, const QString& program, const QStringList& arguments);

/// Runs it to its end, in @p folder. @return its exit code; negative when it cannot be started, does not end, or
/// crashes.
int execute(const QString& program, const QStringList& arguments, const QString& folder = QString());

/// Whether it can be had.
bool exists(const QString& program);

/// The search path on which programs of this project find @p program. Where it is none of their system, it gets a place
/// in @p folder.
QString pathWith(const QString& program, const QString& folder);

} // namespace MachineProgram
