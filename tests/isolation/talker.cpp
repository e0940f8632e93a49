#include "Break.h"

#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cLog.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QTimer>
#include <QtCore/QUrl>

#include <memory>

Q_DECLARE_METATYPE(cJsonValue)

/// Nobody in another process could call it.
class cPointers : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Pointers")

public:
    Q_INVOKABLE void take(QObject*) {}
};

class cTalker : public QObject, public IPlugin
{
    Q_OBJECT
    Q_CLASSINFO("service", "Talker")

public:
    bool start(IPluginContext* context) override
    {
        qRegisterMetaType<cJsonValue>("cJsonValue");
        m_context = context;
        const QString wrong = context->params().get("start", "").toString();
        breakDown(wrong);
        IServiceMgr::instance()->registerService(this);
        IServiceMgr::instance()->registerService(&m_pointers);
        IServiceMgr::instance()->addListener("SuiteEvents", this);
        context->log().info() << "talks" << Qt::endl;
        return wrong != "false";
    }
    void stop(IPluginContext* context) override
    {
        breakDown(context->params().get("stop", "").toString());
        IServiceMgr::instance()->unregisterService(this);
        context->log().warning() << "has stopped" << Qt::endl;
    }

    Q_INVOKABLE bool echo(bool value) { return value; }
    Q_INVOKABLE short echo(short value) { return value; }
    Q_INVOKABLE int echo(int value) { return value; }
    Q_INVOKABLE uint echo(uint value) { return value; }
    Q_INVOKABLE qlonglong echo(qlonglong value) { return value; }
    Q_INVOKABLE qulonglong echo(qulonglong value) { return value; }
    Q_INVOKABLE float echo(float value) { return value; }
    Q_INVOKABLE double echo(double value) { return value; }
    Q_INVOKABLE QString echo(const QString& value) { return value; }
    Q_INVOKABLE QByteArray echo(const QByteArray& value) { return value; }
    Q_INVOKABLE QStringList echo(const QStringList& value) { return value; }
    Q_INVOKABLE QVariantList echo(const QVariantList& value) { return value; }
    Q_INVOKABLE QVariantMap echo(const QVariantMap& value) { return value; }
    Q_INVOKABLE QVariantHash echo(const QVariantHash& value) { return value; }
    Q_INVOKABLE QVariant echo(const QVariant& value) { return value; }
    Q_INVOKABLE QUrl echo(const QUrl& value) { return value; }
    Q_INVOKABLE QDate echo(const QDate& value) { return value; }
    Q_INVOKABLE QTime echo(const QTime& value) { return value; }
    Q_INVOKABLE QDateTime echo(const QDateTime& value) { return value; }
    Q_INVOKABLE cJsonValue echo(const cJsonValue& value) { return value; }

    Q_INVOKABLE qint64 process() { return QCoreApplication::applicationPid(); }
    Q_INVOKABLE int sum(int a, int b, int c, int d, int e, int f, int g, int h, int i, int j)
    {
        return a + b + c + d + e + f + g + h + i + j;
    }
    Q_INVOKABLE void goWrong(const QString& how) { breakDown(how); }
    Q_INVOKABLE void goWrongSoon(const QString& how)
    {
        QTimer::singleShot(0, this, [how] { breakDown(how); });
    }
    Q_INVOKABLE void point(QObject*) {}
    Q_INVOKABLE QVariant pointer() { return QVariant::fromValue<QObject*>(this); }

    /// Calls a service of the suite, on the way back of a call.
    Q_INVOKABLE QString ask(const QString& service, const QString& method, const QString& text)
    {
        QString answer = "untouched";
        const bool isCalled =
            IServiceMgr::instance()->invoke(service, method, Q_RETURN_ARG(QString, answer), Q_ARG(QString, text));
        return isCalled ? answer : "refused";
    }
    /// The same, from a thread of its own.
    Q_INVOKABLE QString askFromThread(const QString& service, const QString& method, const QString& text)
    {
        QString answer;
        const std::unique_ptr<QThread> thread(QThread::create([&] { answer = ask(service, method, text); }));
        thread->start();
        thread->wait();
        return answer;
    }
    /// The same, but by itself, after the call.
    Q_INVOKABLE void askSoon(const QString& service, const QString& method, const QString& text)
    {
        QTimer::singleShot(0, this, [=] { ask(service, method, text); });
    }
    Q_INVOKABLE bool load(const QString& plugin) { return IPluginMgr::instance()->load(plugin); }
    Q_INVOKABLE QStringList services() { return IServiceMgr::instance()->serviceList(); }
    Q_INVOKABLE void raise(const QString& event, const QString& text)
    {
        IServiceMgr::instance()->notify("SuiteEvents", event, Q_ARG(QString, text));
    }
    Q_INVOKABLE QStringList heard() { return m_heard; }

public slots:
    void onSaid(const QString& text) { m_heard.append(text); }

private:
    IPluginContext* m_context = nullptr;
    cPointers m_pointers;
    QStringList m_heard;
};

extern "C" Q_DECL_EXPORT IPlugin* create()
{
    static cTalker plugin;
    return &plugin;
}

#include "talker.moc"
