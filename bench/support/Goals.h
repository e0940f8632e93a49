#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

/**
 * Collects the times of a benchmark run and holds the goals of a room against them.
 *
 * Use: declare the goals, then call `runBenchmarks(argc, argv, goals)` from main(). Every goal is computed from rounds
 * of the same run; one whose benchmarks were filtered out is reported as short, never as held.
 */
class Goals : public benchmark::ConsoleReporter
{
public:
    /// Which of the rounds of a benchmark counts.
    enum class Round {
        Fastest, ///< of work that the processor alone does: what else the machine does only adds to it
        Median   ///< of what waits for the system, the network or other processes, and has lucky rounds
    };

    /// Without colours: their last escape sequence would stand before the first goal.
    explicit Goals(Round counts) : ConsoleReporter(OO_Tabular), m_counts(counts) {}

    /// @p ratio at least (or at most) @p target; the ratio is `time(over) / time(under)`.
    void atLeast(std::string name, std::string over, std::string under, double target)
    {
        m_goals.push_back({std::move(name), target, true, [=](const Goals& g) { return g.ratio(over, under); }});
    }
    void atMost(std::string name, std::string over, std::string under, double target)
    {
        m_goals.push_back({std::move(name), target, false, [=](const Goals& g) { return g.ratio(over, under); }});
    }
    /// No goal, only told: `time(over) / time(under)`, where the first does more of the same work.
    void growth(std::string name, std::string over, std::string under)
    {
        growth(std::move(name), [=] { return ratio(over, under); });
    }
    /// As above, for anything else that was measured in this run.
    void growth(std::string name, std::function<double()> value)
    {
        m_growths.push_back({std::move(name), std::move(value)});
    }
    /// A goal over anything else that was measured in this run, such as memory.
    void custom(std::string name, double target, bool isAtLeast, std::function<double(const Goals&)> value)
    {
        m_goals.push_back({std::move(name), target, isAtLeast, std::move(value)});
    }

    /// The real time of one iteration of benchmark @p name in the round that counts, in seconds; 0 when it did not run.
    double time(const std::string& name) const
    {
        const auto it = m_times.find(name);
        if (it == m_times.end() || it->second.empty())
            return 0;
        std::vector<double> times = it->second;
        std::sort(times.begin(), times.end());
        return times[m_counts == Round::Fastest ? 0 : times.size() / 2];
    }

    double ratio(const std::string& over, const std::string& under) const
    {
        const double below = time(under);
        return below > 0 ? time(over) / below : 0;
    }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                m_times[plainName(run.run_name.str())].push_back(run.real_accumulated_time / double(run.iterations));
        }
        ConsoleReporter::ReportRuns(runs);
    }

    /// Prints one line for each growth and each goal. @return true when all are held.
    bool print() const
    {
        for (const Growth& growth : m_growths)
            std::printf("GROWTH %s %.3f\n", growth.name.c_str(), growth.value());
        bool all = true;
        for (const Goal& goal : m_goals) {
            const double value = goal.value(*this);
            const bool held = value > 0 && (goal.isAtLeast ? value >= goal.target : value <= goal.target);
            all = all && held;
            const bool isNearOne = goal.target > 1 && goal.target < 1.05;
            const int digits = goal.target < 0.1 ? 4 : isNearOne ? 3 : 2;
            std::printf("GOAL %s %.*f %s%.*f %s\n", goal.name.c_str(), digits, value,
                        goal.isAtLeast ? ">=" : "<=", digits, goal.target, held ? "held" : "short");
        }
        std::fflush(stdout);
        return all;
    }

private:
    struct Goal
    {
        std::string name;
        double target;
        bool isAtLeast;
        std::function<double(const Goals&)> value;
    };

    struct Growth
    {
        std::string name;
        std::function<double()> value;
    };

    /// Google Benchmark appends settings such as "/repeats:5" or "/real_time" to the name that was registered.
    static std::string plainName(std::string name)
    {
        for (const char* suffix :
             {"/min_time:", "/iterations:", "/repeats:", "/real_time", "/process_time", "/manual_time"}) {
            const size_t at = name.find(suffix);
            if (at != std::string::npos)
                name.erase(at);
        }
        return name;
    }

    const Round m_counts;
    std::vector<Goal> m_goals;
    std::vector<Growth> m_growths;
    std::map<std::string, std::vector<double>> m_times;
};

/// Runs the registered benchmarks and prints the goals; the exit code is 0 also when a goal falls short. The rounds of
/// all benchmarks take turns, so that a slow spell of the machine falls on both sides of a ratio.
inline int runBenchmarks(int argc, char** argv, Goals& goals)
{
    std::string takeTurns = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, &takeTurns[0]);
    argc = int(arguments.size());
    arguments.push_back(nullptr);
    argv = arguments.data();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks(&goals);
    goals.print();
    return 0;
}
