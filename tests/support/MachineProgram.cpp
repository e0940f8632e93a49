#include "MachineProgram.h"

int MachineProgram::execute(const QString& program, const QStringList& arguments, const QString& folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    start(process, program, arguments);
    if (!process.waitForStarted() || !process.waitForFinished(60000))
        return -2;
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}
