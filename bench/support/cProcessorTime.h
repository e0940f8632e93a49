#pragma once

#include <time.h>

/**
 * Measures the processor time of this process, user and system, in seconds.
 *
 * What is measured here neither sleeps nor waits for a disk, so this is its time, and other programs on the machine do
 * not count into it.
 */
class cProcessorTime
{
public:
    cProcessorTime() : m_begin(now()) {}
    double elapsed() const { return now() - m_begin; }

private:
    static double now()
    {
        timespec time;
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
    }

    double m_begin;
};
