#pragma once

#include <Norvale/IPluginMgr.h>

#include <QtCore/QString>

/**
 * Tells an observer of one step: that it begins, when made; that it has ended, when destroyed. Does nothing without an
 * observer.
 */
class cObserverSpan
{
public:
    cObserverSpan(IPluginObserver* observer, IPluginObserver::Span span, const QString& plugin)
        : m_observer(observer), m_span(span), m_plugin(plugin)
    {
        if (m_observer)
            m_observer->spanBegin(m_span, m_plugin);
    }

    ~cObserverSpan()
    {
        if (m_observer)
            m_observer->spanEnd(m_span, m_plugin, m_isOk);
    }

    cObserverSpan(const cObserverSpan&) = delete;
    cObserverSpan& operator=(const cObserverSpan&) = delete;

    /// Notes the outcome. @return @p ok.
    bool finish(bool ok)
    {
        m_isOk = ok;
        return ok;
    }

private:
    IPluginObserver* m_observer;
    IPluginObserver::Span m_span;
    const QString& m_plugin;
    bool m_isOk = false;
};
