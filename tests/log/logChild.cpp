#include "log/cLogCentralData.h"

#include <Norvale/cLogCentral.h>
#include <QtCore/QCoreApplication>

#include <cstdlib>

namespace {

void writeToDebugger()
{
    cLogCentral::setDebuggerOutput(true);
    cLogCentral::log(QStringLiteral("%3")).info() << "%1 with a line end" << Qt::endl;
    cLogCentral::sysLog().info() << "without" << Qt::flush;
}

/// Names that are set before the first use count, also for a handle that was made before.
void useSystemChannel(const cLog& early)
{
    cLogCentral::setLogFile(QCoreApplication::arguments().at(2));
    cLog log = early;
    log.info() << "at first" << Qt::endl;
    if (QCoreApplication::arguments().value(3) == QLatin1String("disable"))
        log.disable();
    cLogCentral::saveLogSettings();
}

} // namespace

/// logChild CASE [PATH]: what ends a process, or happens at its end.
int main(int argc, char** argv)
{
    const cLog early;
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("NorvaleTests"));
    QCoreApplication::setApplicationName(QStringLiteral("Child"));

    const QByteArray what = argv[1];
    if (what == "noChannel")
        cLogCentralData().output(nullptr, debugInfo, "text");
    else if (what == "noFile")
        cLogCentral::setLogFile(QString::fromLocal8Bit(argv[2]));
    else if (what == "debugger")
        writeToDebugger();
    else if (what == "system")
        useSystemChannel(early);
    else if (what == "abort") {
        cLogCentral::setLogFile(QString::fromLocal8Bit(argv[2]));
        cLogCentral::sysLog().info() << "before" << Qt::endl;
        cLogCentral::sysLog().warning() << "reason" << Qt::endl;
        std::abort();
    } else {
        return 2;
    }
    return 0;
}
