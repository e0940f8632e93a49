#pragma once

#include "cTraceWriter.h"
#include "common/ExitCode.h"
#include "guard/PluginChoice.h"
#include "wire/cHostServer.h"

#include <memory>

class cHostHandler;
class cHostService;
class cStopSignals;

/**
 * One run of the suite, from the begin to the exit code. The steps stand in run() in their order; each tells by its
 * code whether the next one is taken.
 */
class cHostRun
{
public:
    struct Options
    {
        PluginChoice::Options plugins;
        QString tracePath;        // the file that the trace goes to, empty for none
        bool isStartOnly = false; // stop as soon as the suite has been started
    };

    /// What is printed when a run that only starts the suite ends with ExitCode::Ok.
    inline static const QLatin1String StartOnlyAnswer{"The suite has been started and stopped."};

    explicit cHostRun(const Options& options);
    ~cHostRun();

    /// Runs the suite until it is asked to stop.
    ExitCode run();

private:
    template <typename Sender, typename Signal>
    void stopOn(Sender* sender, Signal signal);
    ExitCode takeAddress();
    ExitCode initialise();
    void installWaiting();
    ExitCode start();
    ExitCode serve();
    void stop();
    bool finishTrace();

    const Options m_options;
    cTraceWriter m_trace;
    cHostServer m_server;
    bool m_isStopRequested = false; // remembered, since a request during the start finds no loop that it could end
    std::unique_ptr<cStopSignals> m_stopSignals;
    std::unique_ptr<cHostService> m_service;
    std::unique_ptr<cHostHandler> m_handler;
};
