#include "System.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLibrary>

#include <cstdio>

// VPlugin LIBRARY, with the end of a connection in the environment: the suite starts it so, see the isolation room.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    bool isNumber = false;
    const qintptr connection = qintptr(qgetenv("NORVALE_PLUGIN_CONNECTION").toLongLong(&isNumber));
    qunsetenv("NORVALE_PLUGIN_CONNECTION");
    if (!isNumber || argc != 2) {
        std::fputs("VPlugin runs a plugin for a suite, which starts it; it does nothing by itself\n", stderr);
        return 64;
    }
    waitForSuite(connection);
    QLibrary library(QCoreApplication::arguments().at(1));
    const auto run = reinterpret_cast<int (*)(qintptr)>(library.resolve("norvale_run_plugin"));
    if (run)
        return run(connection);
    std::fprintf(stderr, "VPlugin: %s\n", qPrintable(library.errorString()));
    return 1;
}
