#pragma once

#include "isolation/cChildProcess.h"
#include "isolation/cPluginProcesses.h"
#include "isolation/cRemotePlugin.h"
#include "version/cPluginId.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>

#include <deque>

/**
 * The process of one plugin, from the suite's side: it is started, told what to do, watched and stopped.
 *
 * When it ends by itself after the plugin's start has succeeded, its services answer false and it is started again,
 * three times at most in five minutes. Main thread only.
 */
class cPluginProcess : public QObject, public IPluginProcess
{
public:
    static constexpr int MostRestarts = 3;
    static constexpr int RestartSpan = 5 * 60 * 1000; // milliseconds

    /// @p limit is the time that the plugin has for each answer, in seconds.
    cPluginProcess(const cPluginPrograms& programs, const cPluginId& id, const QString& folder, int limit);
    ~cPluginProcess() override;

    bool load() override;
    bool start() override;
    bool stop() override;
    QString whyDown() const override { return m_whyDown; }
    QString errorString() const override { return m_errorString; }

private:
    enum class Step { Idle, Starting, Running, Stopping };

    bool launch();
    bool ask(FrameKind kind);
    bool ask(cFrameWriter& frame);
    void onClosed();
    void end(const QString& why, int patience);
    void planRestart();
    void restart();
    bool fail(const QString& reason);

    const cPluginPrograms m_programs;
    const cPluginId m_id;
    const QString m_folder;
    const std::shared_ptr<cRemotePlugin> m_remote;
    std::unique_ptr<cChildProcess> m_process;
    Step m_step = Step::Idle;
    QElapsedTimer m_time;
    std::deque<qint64> m_restarts; // their times
    QString m_whyDown;
    QString m_errorString;
};
