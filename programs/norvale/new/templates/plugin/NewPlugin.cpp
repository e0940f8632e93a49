#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cLog.h>

#include <QtCore/QObject>

namespace {
constexpr char EndingKey[] = "NewPlugin/Ending"; // the setting: what a greeting ends with
constexpr char DefaultEnding[] = "!";
} // namespace

/**
 * The service "NewPlugin": greets people in the language of the machine.
 *
 * Every greeting is told as the event "Greeted" (name) of the event set "NewPluginEvents".
 */
class cNewPluginPlugin : public QObject, public IPlugin
{
    Q_OBJECT
    Q_CLASSINFO("service", "NewPlugin") // the name that others call it by

public:
    bool start(IPluginContext* context) override;
    void stop(IPluginContext* context) override;

    Q_INVOKABLE QString greet(const QString& name);

    /// The event "Changed" of the settings; the value is empty when the setting is not there any more.
    Q_INVOKABLE void onChanged(const QString& key, const QString& value);

private:
    QString m_ending;
};

bool cNewPluginPlugin::start(IPluginContext* context)
{
    IServiceMgr* const services = IServiceMgr::instance();
    QString ending; // Q_ARG and Q_RETURN_ARG name exactly the types of the method that is called
    services->invoke("Settings", "value", Q_RETURN_ARG(QString, ending), Q_ARG(QString, EndingKey));
    onChanged(EndingKey, ending);
    services->addListener("SettingsEvents", this);
    services->registerService(this);
    context->log().info() << "ready to greet" << Qt::endl; // a line goes out at Qt::endl
    return true;
}

void cNewPluginPlugin::stop(IPluginContext*)
{
    IServiceMgr* const services = IServiceMgr::instance();
    services->unregisterService(this);
    services->removeListener("SettingsEvents", this);
}

QString cNewPluginPlugin::greet(const QString& name)
{
    IServiceMgr::instance()->notify("NewPluginEvents", "Greeted", Q_ARG(QString, name));
    return tr("Hello, %1").arg(name) + m_ending;
}

void cNewPluginPlugin::onChanged(const QString& key, const QString& value)
{
    if (key == EndingKey)
        m_ending = value.isEmpty() ? DefaultEnding : value;
}

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cNewPluginPlugin plugin;
    return &plugin;
}

#include "NewPlugin.moc"
