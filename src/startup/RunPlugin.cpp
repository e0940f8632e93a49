#include "isolation/cPluginHost.h"

#include <Norvale/Corvane.h>

/**
 * What the program VPlugin does once it is told its plugin: it serves the suite at the other end of a connection until
 * that ends. The program knows the library only while it runs, and finds this function by its name.
 *
 * @param connection the end of the connection, as the system names it.
 * @return the exit code of the process.
 */
extern "C" NORVALE_EXPORT int norvale_run_plugin(qintptr connection)
{
    cPluginHost host(connection, &Corvane::initialize);
    return host.run();
}
