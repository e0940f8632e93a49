// The library of a plugin that crashes, in each of the ways there are.
#include "Break.h"

#include <cstring>

/// Not memset(), where a sanitizer would look.
static void overwrite(volatile char* from, int count)
{
    for (int i = 0; i < count; ++i)
        from[i] = 0x41;
}

extern "C" Q_DECL_EXPORT int crashHereDeep(volatile int depth)
{
    volatile char room[4096] = {};
    return crashHereDeep(depth + 1) + room[depth % 4096];
}

extern "C" Q_DECL_EXPORT void crashHere(const char* way)
{
    const auto is = [way](const char* name) { return std::strcmp(way, name) == 0; };
    volatile int zero = 0;
    if (is("null"))
        *reinterpret_cast<volatile int*>(zero) = 1;
    if (is("null call"))
        reinterpret_cast<void (*)()>(zero)();
    if (is("divide"))
        zero = 7 / zero;
    if (is("illegal"))
        __builtin_trap();
    if (is("overflow"))
        crashHereDeep(0);
    breakDown(way);
    if (is("smash")) {
        char here[16];
        overwrite(here, 1024);
        *reinterpret_cast<volatile int*>(std::strlen("")) = 1;
    }
}
