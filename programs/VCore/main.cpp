#include "Diagnostics.h"
#include "commands/Commands.h"
#include "common/cProgram.h"

#include <QtCore/QCoreApplication>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Varkel"));
    QCoreApplication::setApplicationName(QStringLiteral("VCore"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VCORE_VERSION));
    Diagnostics::catchFatalMessages();
    cProgram program("Runs the plugin-based suite, speaks to the host that runs it, and keeps it up to date.");
    addRunCommands(program);
    addHostCommands(program);
    addBisectCommand(program);
    addReportCommand(program);
    addUpdateCommands(program);
    addInstallCommands(program);
    addVerifyCommands(program);
    return int(program.run(QCoreApplication::arguments()));
}
