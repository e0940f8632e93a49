#pragma once

#include <Norvale/IPluginMgr.h>
#include <Norvale/cLog.h>

#include "log/cFrameworkLog.h"

#include <QtCore/QString>

/**
 * Where the parts of the plugin manager tell what happens: the log channel "PluginMgr", and the host's observer.
 */
class cPluginReporter
{
public:
    using Span = IPluginObserver::Span;

    cPluginReporter() : m_log(cFrameworkLog::plugins()) {}

    /// Null for none. Not owned.
    void setObserver(IPluginObserver* observer) { m_observer = observer; }

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
            observer->spanBegin(span, plugin);
        const bool isOk = step();
        if (observer)
            observer->spanEnd(span, plugin, isOk);
        return isOk;
    }

private:
    cLog m_log;
    IPluginObserver* m_observer = nullptr;
};
