#pragma once

#include <QtCore/QtGlobal>

#include <time.h>

#include <vector>

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

/// The arguments of main(), and that the repetitions of the benchmarks take turns: a busy minute of the machine then
/// weighs on all of them.
inline std::vector<char*> withInterleaving(int argc, char** argv)
{
    static char interleaving[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments(argv, argv + argc);
    arguments.push_back(interleaving);
    arguments.push_back(nullptr);
    return arguments;
}
