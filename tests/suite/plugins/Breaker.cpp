// The plugins of a suite one of which breaks: "STEP KIND" in the environment says where and how the one with the entry
// function createBreaking does. Its service breaks in a call.

#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/IServiceMgr.h>

#include <QtCore/QFile>
#include <QtCore/QThread>

#include <cstdlib>
#include <memory>
#include <stdexcept>

/// Whether the plugin is to break in @p step; how, when @p kind is not null.
static bool breaksIn(const char* step, QByteArray* kind = nullptr)
{
    const QList<QByteArray> words = qgetenv("NORVALE_BREAK").split(' ');
    if (kind)
        *kind = words.value(1);
    return words.value(0) == step;
}

/// Exported, so that a report names it.
extern "C" Q_DECL_EXPORT void breakDown(const char* step)
{
    QByteArray kind;
    if (!breaksIn(step, &kind))
        return;
    if (kind == "segv") {
        volatile int* volatile nowhere = nullptr;
        *nowhere = 1;
    } else if (kind == "abort") {
        std::abort();
    } else if (kind == "fatal") {
        qFatal("this cannot be");
    } else if (kind == "throw") {
        throw std::runtime_error("out of paper");
    }
    while (kind == "loop")
        QThread::msleep(5);
}

class cBreakService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Break")

public:
    Q_INVOKABLE void now() { breakDown("call"); }
};

class cPlugin : public IPlugin
{
public:
    bool start(IPluginContext* context) override
    {
        QFile journal(QFile::decodeName(qgetenv("VCORE_TEST_JOURNAL")));
        if (journal.open(QIODevice::WriteOnly | QIODevice::Append))
            journal.write(context->name().toUtf8() + '\n');
        if (!isBreaking)
            return true;
        breakDown("start");
        m_service.reset(new cBreakService);
        IServiceMgr::instance()->registerService(m_service.get());
        return true;
    }
    void stop(IPluginContext*) override
    {
        if (isBreaking)
            breakDown("stop");
    }

    bool isBreaking = false;

private:
    std::unique_ptr<cBreakService> m_service;
};

static IPlugin* plugin()
{
    static cPlugin plugin;
    return &plugin;
}

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    return plugin();
}

extern "C" Q_DECL_EXPORT IPlugin* createBreaking()
{
    breakDown("load");
    static_cast<cPlugin*>(plugin())->isBreaking = true;
    return plugin();
}

#include "Breaker.moc"
