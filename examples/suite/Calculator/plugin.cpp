#include <Norvale/IPlugin.h>
#include <Norvale/IServiceMgr.h>

#include <QtCore/QObject>

#include <memory>

/// The service "Calculator". Its fault is left in: it shows what a suite says of a plugin that breaks.
class cCalculator : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Calculator")

public:
    /// @p sum shared out among @p people; nobody has thought of a party to which nobody comes.
    Q_INVOKABLE int share(int sum, int people) { return sum / people; }
};

class cCalculatorPlugin : public IPlugin
{
public:
    bool start(IPluginContext*) override
    {
        m_calculator = std::make_unique<cCalculator>();
        IServiceMgr::instance()->registerService(m_calculator.get());
        return true;
    }

    void stop(IPluginContext*) override
    {
        IServiceMgr::instance()->unregisterService(m_calculator.get());
        m_calculator.reset();
    }

private:
    std::unique_ptr<cCalculator> m_calculator;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cCalculatorPlugin plugin;
    return &plugin;
}

#include "plugin.moc"
