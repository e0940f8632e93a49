#include "wire/LastBytes.h"

// What has been sent can be read after the end.
void waitUntilRead(const QLocalSocket&, int) {}
