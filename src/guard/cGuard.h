#pragma once

#include "guard/cGuardFile.h"
#include "guard/cMainCall.h"
#include "guard/cWatchdog.h"

#include <Norvale/cLog.h>
#include <Norvale/cPluginFailure.h>

#include <QtCore/QMutex>

#include <memory>

/**
 * Guards the process against its plugins: notes which is at work, so that the next start can name the one that has
 * ended this run, and looks after those that do not come back.
 *
 * begin() takes over what the last run left. From then on each step is noted while a cStep lives. Where the file of the
 * slot cannot be had, there is no next start to be told, and the rest goes on.
 *
 * Main thread only; the watchdog has a thread of its own.
 */
class cGuard
{
public:
    cGuard();
    ~cGuard() { end(); }
    cGuard(const cGuard&) = delete;
    cGuard& operator=(const cGuard&) = delete;

    /// How it guards; for begin() and the peeking of lastFailure().
    void setOptions(const cGuardOptions& options) { m_options = options; }

    /// Begins, and logs what the last run left. Does nothing when it is switched off, and when it has begun before.
    void begin();

    /// Ends an orderly run: nothing is left for the next one.
    void end();

    /// What IPluginMgr::lastFailure() describes.
    cPluginFailure lastFailure() const;

    /**
     * A step of a plugin, for as long as the object lives. Steps nest; the slot tells the innermost. What costs time is
     * a few writes and two locks that nobody else has.
     */
    class cStep
    {
    public:
        /// @p plugin is the plugin's id, "Name-1.02.003"; it must outlive the object.
        cStep(cGuard& guard, cGuardSlot::Step step, const QString& plugin);
        ~cStep();
        cStep(const cStep&) = delete;
        cStep& operator=(const cStep&) = delete;

    private:
        friend class cGuard;

        cGuard* const m_guard; // null where nothing is guarded
        const cGuardSlot::Step m_step;
        const QString& m_plugin;
        qint64 m_began = 0;
        cStep* m_outer = nullptr;
        int m_elapsed = 0; // ms, in which no step inside it went on; guarded by the lock of the guard
        bool m_isHung = false;
    };

private:
    void takeOver(cGuardSlot& slot);
    void watch();
    void enter(cStep& step);
    void leave(const cStep& step);
    void show(const cStep* step);
    quint32 failuresBefore() const;
    void pass(const cStep& step);
    void look(int elapsed);
    bool lookAtStep(int elapsed);
    void lookAtCall(int elapsed);
    void markCall(const char* plugin, int silence);
    void tellHungNoLonger(const cStep& step);
    void tellHung(const QString& text);
    static QString folder();
    static QString file();
    static QString reportFolder();
    static cPluginFailure failureIn(const cGuardSlot& slot);

    // Each step needs these, so they stand side by side.
    cGuardSlot* m_slot = nullptr;
    std::unique_ptr<cWatchdog> m_watchdog;
    // Guards the innermost step and, while a run is guarded, the slot. A library is loaded between one step and the
    // next, and what is not inline is in no cache by then.
    QBasicMutex m_lock;
    cStep* m_innermost = nullptr;

    const cLog m_log;
    cGuardOptions m_options;
    bool m_hasBegun = false;
    bool m_isCallTold = false; // of the watchdog
    cPluginFailure m_lastFailure;
    std::unique_ptr<cCallWatch> m_calls;
    cGuardFile m_file;
    cGuardSlot m_ownSlot = {}; // where the file cannot be had
};
