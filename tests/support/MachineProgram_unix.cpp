#include "MachineProgram.h"

#include <QtCore/QStandardPaths>

void MachineProgram::start(QProcess& process, const QString& program, const QStringList& arguments)
{
    process.start(program, arguments);
}

bool MachineProgram::exists(const QString& program)
{
    return !QStandardPaths::findExecutable(program).isEmpty();
}

QString MachineProgram::pathWith(const QString&, const QString&)
{
    return qEnvironmentVariable("PATH");
}
