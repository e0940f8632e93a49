#include "Break.h"

#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <QtCore/QVariant>

static QObject* managerOf(const char* name)
{
    return QCoreApplication::instance()->property(name).value<QObject*>();
}

/// Takes the steps "STEP WAY, ..." that the environment has for this step of a faulty plugin.
static void breakIn(const QString& step)
{
    const QString steps = qstrcmp(PLUGIN, "faulty") == 0 ? qEnvironmentVariable("FAULTS") : QString();
    for (const QString& fault : steps.split(", ", Qt::SkipEmptyParts)) {
        const QString way = fault.section(' ', -1);
        if (fault.section(' ', 0, -2) != step)
            continue;
        if (way == "exit")
            std::exit(3);
        if (way == "slow")
            QThread::msleep(2500);
        if (way == "loop") {
            QEventLoop loop;
            QTimer::singleShot(2500, &loop, &QEventLoop::quit);
            loop.exec();
        }
        if (way.size() == 1) // a plugin to be loaded
            QMetaObject::invokeMethod(managerOf("pluginMgr"), "DoLoad", Q_ARG(QString, way), Q_ARG(bool*, nullptr));
        breakDown(way);
    }
}

class cFaultyService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "faulty")

public:
    Q_INVOKABLE void call() { breakIn("call"); }
};

class cFaulty : public IPlugin
{
public:
    bool start(IPluginContext* context) override
    {
        m_name = context->name();
        if (m_name == "B")
            QMetaObject::invokeMethod(managerOf("serviceMgr"), "registerService", Q_ARG(QObject*, &m_service));
        breakIn(m_name + " start");
        return true;
    }
    void stop(IPluginContext*) override { breakIn(m_name + " stop"); }

private:
    QString m_name;
    cFaultyService m_service;
};

extern "C" Q_DECL_EXPORT IPlugin* create()
{
    static cFaulty plugin;
    breakIn("load");
    return &plugin;
}

#include "faulty.moc"
