// One library for plugins that break a suite: the parameters of the manifest say how, and beside which other plugin.

#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonValue.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QThread>
#include <QtCore/QVariant>

#include <cstdlib>

/// Tells whether a plugin has spoiled the suite.
class cProbe : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Probe")

public:
    Q_INVOKABLE bool isSpoiled() { return qApp->property("spoiled").toBool(); }
};

class cFaulty : public IPlugin
{
public:
    bool start(IPluginContext* context) override
    {
        const cJsonValue params = context->params();
        m_stop = params.get("stop", cJsonValue()).toString();
        const QString other = params.get("beside", cJsonValue()).toString();
        qApp->setProperty(context->name().toUtf8(), true);
        if (other.isEmpty() || qApp->property(other.toUtf8()).toBool())
            act(params.get("start", cJsonValue()).toString());
        return true;
    }

    void stop(IPluginContext*) override { act(m_stop); }

private:
    void act(const QString& what)
    {
        if (what == "abort")
            std::abort();
        if (what == "fatal")
            qFatal("out of ink");
        if (what == "exit")
            std::_Exit(0);
        QFile journal(QFile::decodeName(qgetenv("VCORE_TEST_JOURNAL")));
        if (what == "hang" && journal.open(QIODevice::WriteOnly))
            journal.write("hangs");
        journal.close();
        while (what == "hang")
            QThread::msleep(10);
        if (what == "spoil")
            qApp->setProperty("spoiled", true);
        if (what == "probe")
            IServiceMgr::instance()->registerService(&m_probe);
    }

    QString m_stop;
    cProbe m_probe;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cFaulty plugin;
    return &plugin;
}

#include "Faulty.moc"
