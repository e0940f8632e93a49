#pragma once

#include "cTraceWriter.h"
#include "common/ExitCode.h"
#include "wire/cHostServer.h"

#include <QtCore/QStringList>

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
    /// @p categories are the load categories; @p tracePath is the file that the trace goes to, empty for none.
    cHostRun(const QStringList& categories, const QString& tracePath);
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
    bool writeTrace() const;

    const QStringList m_categories;
    const QString m_tracePath;
    cTraceWriter m_trace;
    cHostServer m_server;
    bool m_isStopRequested = false; // remembered, since a request during the start finds no loop that it could end
    std::unique_ptr<cStopSignals> m_stopSignals;
    std::unique_ptr<cHostService> m_service;
    std::unique_ptr<cHostHandler> m_handler;
};
