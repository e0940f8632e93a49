#include "Commands.h"
#include "common/cProgram.h"

#include <QtCore/QCoreApplication>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    // Nothing of the program is a host's setting; the names only keep Qt from taking those of somebody else.
    QCoreApplication::setOrganizationName(QStringLiteral("Varkel"));
    QCoreApplication::setApplicationName(QStringLiteral("norvale"));
    QCoreApplication::setApplicationVersion(QStringLiteral(NORVALE_TOOL_VERSION));
    cProgram program("For people who build plugins and run update sites.");
    addNewCommands(program);
    addPackCommand(program);
    addLintCommand(program);
    addGraphCommand(program);
    addSiteCommands(program);
    addSigningCommands(program);
    program.addVariable("NORVALE_SITE_KEYS", "The folder of the keys that sign a site, where --keys does not name one.");
    addTrustCommand(program);
    return int(program.run(QCoreApplication::arguments()));
}
