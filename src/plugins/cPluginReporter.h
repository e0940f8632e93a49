#pragma once

#include "log/cFrameworkLog.h"
#include "plugins/cPluginInstance.h"
#include "version/ForeignCode.h"

#include <Norvale/IPluginMgr.h>
#include <Norvale/cLog.h>

#include <QtCore/QString>

#include <functional>

/**
 * Where the parts of the plugin manager tell what happens: the log channel "PluginMgr", the host's observer, and who is
 * told of each plugin's state.
 */
class cPluginReporter
{
public:
    using Span = IPluginObserver::Span;

    cPluginReporter() : m_log(cFrameworkLog::plugins()) {}

    /// Null for none. Not owned.
    void setObserver(IPluginObserver* observer) { m_observer = observer; }
    IPluginObserver* observer() const { return m_observer; }

    /// Is told of a plugin and its state.
    using StateReceiver = std::function<void(const QString& name, cPluginInfo::State state)>;
    void setStateReceiver(const StateReceiver& receiver) { m_tellState = receiver; }

    /// Tells the state of the plugin, if there is something new of it. The receivers may do what they like, so whoever
    /// calls this is done with what it does.
    void tellState(cPluginInstance& plugin)
    {
        const QString name = plugin.name();
        if (plugin.takeNews() && m_tellState)
            callOut(QStringLiteral("A receiver of a plugin's state"), [&] { m_tellState(name, plugin.progress()); });
    }

    /// Says what is about to run code of a plugin: "loading" it. The log file has the line on disk then, for the code
    /// may end the process.
    void announce(const char* step, const QString& id)
    {
        if (!cFrameworkLog::isHeard())
            return;
        info(QStringLiteral("%1 %2").arg(QLatin1String(step), id));
        cFrameworkLog::writeOut();
    }

    void info(const QString& text) { m_log.info().noquote() << text << Qt::endl; }
    void warn(const QString& text) { m_log.warning().noquote() << text << Qt::endl; }

    /// @return false.
    bool logAndFail(const QString& reason)
    {
        m_log.error().noquote() << reason << Qt::endl;
        return false;
    }

    /// Takes @p step, and tells the observer when it begins and ends. @return what the step answers.
    template <typename Step>
    bool observe(Span span, const QString& plugin, Step step)
    {
        IPluginObserver* const observer = m_observer; // who has heard the begin hears the end
        if (observer)
            callOut(QStringLiteral("The observer"), [&] { observer->spanBegin(span, plugin); });
        const bool isOk = step();
        // One that has been replaced meanwhile may be gone.
        if (observer && observer == m_observer)
            callOut(QStringLiteral("The observer"), [&] { observer->spanEnd(span, plugin, isOk); });
        return isOk;
    }

    /// Calls what the host or a plugin has given. What it throws is logged, with @p who as the one that threw.
    template <typename Call>
    void callOut(const QString& who, const Call& call)
    {
        const QString thrown = whatIsThrownBy(call);
        if (!thrown.isEmpty())
            logAndFail(QStringLiteral("%1 %2").arg(who, thrown));
    }

private:
    cLog m_log;
    StateReceiver m_tellState;
    IPluginObserver* m_observer = nullptr;
};
