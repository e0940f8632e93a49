#pragma once

#ifdef __GLIBC__
#include <malloc.h>
#endif

/// Memory that one round gives back is not taken from the process, so that the next one need not ask for it again: that
/// happens to large inputs only, and is the system's time and not that of what is measured.
inline void keepMemory()
{
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
#endif
}
