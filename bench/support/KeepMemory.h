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

/// Small pieces of memory are joined with their neighbours as soon as they are given back. glibc would put that off
/// until the next large block is asked for, and then visit all of them wherever they lie, which costs a process that
/// makes and releases one catalogue after the other a sixth of its time, and one that makes one catalogue nothing.
inline void joinFreedMemory()
{
#ifdef __GLIBC__
    mallopt(M_MXFAST, 0);
#endif
}
