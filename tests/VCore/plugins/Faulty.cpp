// One library for plugins that break a suite. The parameters of the manifest say in which step and how, and beside
// which other plugin: {"start":"abort","beside":"P3"}. A plugin that is loaded knows none yet; to the entry function
// createBreaking() the environment says how.

#include "Break.h"
#include "Journal.h"

#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonValue.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QVariant>

class cBreakService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Break")

public:
    Q_INVOKABLE bool isSpoiled() { return qApp->property("spoiled").toBool(); }
    Q_INVOKABLE void now() { breakDown(how); }

    QString how;
};

class cFaulty : public IPlugin
{
public:
    bool start(IPluginContext* context) override
    {
        note(context->name().toUtf8());
        const cJsonValue params = context->params();
        const auto param = [&](const char* name) { return params.get(name, cJsonValue()).toString(); };
        m_stop = param("stop");
        m_service.how = param("call");
        qApp->setProperty(context->name().toUtf8(), true);
        const QString other = param("beside");
        if (other.isEmpty() || qApp->property(other.toUtf8()).toBool())
            act(param("start"));
        if (!m_service.how.isEmpty())
            IServiceMgr::instance()->registerService(&m_service);
        return true;
    }
    void stop(IPluginContext*) override { act(m_stop); }

private:
    static void act(const QString& what)
    {
        if (what == "hang")
            note("hangs");
        if (what == "spoil")
            qApp->setProperty("spoiled", true);
        breakDown(what);
    }

    QString m_stop;
    cBreakService m_service;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cFaulty plugin;
    return &plugin;
}

extern "C" Q_DECL_EXPORT IPlugin* createBreaking()
{
    breakDown(qEnvironmentVariable("NORVALE_BREAK"));
    return createPlugin();
}

#include "Faulty.moc"
