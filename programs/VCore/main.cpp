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
    program.addVariable("XDG_RUNTIME_DIR",
                        "The user's folder for the socket and the locks; else one below the temporary "
                        "folder is made.");
    program.addVariable("XDG_CONFIG_HOME, XDG_CONFIG_DIRS", "Where the settings lie, as for every program of Qt.");
    program.addVariable("http_proxy, https_proxy, no_proxy", "The proxy that update sites are reached through.");
    program.addFile("/etc/xdg/Varkel/Pelmora.conf",
                    "The machine's settings: \"InstallDir\", the installation folder, and "
                    "what is installed.");
    program.addFile("~/.config/Varkel/VCore.conf", "The user's settings: the update sites and the disabled plugins.");
    program.addFile("~/.local/share/Varkel/VCore",
                    "What has been fetched and waits to be installed, and crash reports.");
    addRunCommands(program);
    addHostCommands(program);
    addBisectCommand(program);
    addReportCommand(program);
    addUpdateCommands(program);
    addTrustCommands(program);
    addInstallCommands(program);
    addVerifyCommands(program);
    return int(program.run(QCoreApplication::arguments()));
}
