#include "MachineProgram.h"

int MachineProgram::execute(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    start(process, program, arguments);
    if (!process.waitForStarted() || !process.waitForFinished(60000))
        return -2;
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}
