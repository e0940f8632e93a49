#include "cProgram.h"

#include <QtCore/QCoreApplication>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    // Nothing of the program is a host's setting; the names only keep Qt from taking those of somebody else.
    QCoreApplication::setOrganizationName(QStringLiteral("Varkel"));
    QCoreApplication::setApplicationName(QStringLiteral("norvale"));
    QCoreApplication::setApplicationVersion(QStringLiteral(NORVALE_TOOL_VERSION));
    return int(cProgram().run(QCoreApplication::arguments()));
}
