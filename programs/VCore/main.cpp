#include "FatalEnd.h"
#include "cCommandLine.h"

#include <QtCore/QCoreApplication>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Varkel"));
    QCoreApplication::setApplicationName(QStringLiteral("VCore"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VCORE_VERSION));
    FatalEnd::install();
    return int(cCommandLine().run(QCoreApplication::arguments()));
}
