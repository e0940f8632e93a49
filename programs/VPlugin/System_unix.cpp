#include "System.h"

#include <cerrno>
#include <poll.h>

void waitForSuite(qintptr connection)
{
    pollfd waited{int(connection), POLLIN, 0};
    while (::poll(&waited, 1, -1) < 0 && errno == EINTR) {
    }
}
