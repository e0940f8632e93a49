#include "cJournal.h"

#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonValue.h>
#include <QtCore/QDir>
#include <QtCore/QScopedPointer>

/// Writes "journal.log" in the data folder, from its start to its stop.
class cJournalPlugin : public IPlugin
{
public:
    bool start(IPluginContext* context) override
    {
        const cJsonValue params = context->params();
        m_journal.reset(new cJournal(params.get("kept_lines", 200).toInt(), context->log()));
        const QDir data(Corvane::velmiraFolderOrFile(Corvane::DataFolder));
        if (!m_journal->open(data.absoluteFilePath("journal.log"), params.get("largest_file", 1000000).toInt()))
            return false;
        listen();
        m_journal->note(context->name(), "begins");
        return true;
    }

    void stop(IPluginContext* context) override
    {
        m_journal->note(context->name(), "ends");
        Corvane::unregisterLocalSocketMessageHandler(m_journal.data());
        IServiceMgr::instance()->unregisterService(m_journal.data());
        m_journal.reset();
    }

private:
    void listen()
    {
        IServiceMgr* services = IServiceMgr::instance();
        services->addListener("PluginMgrEvents", m_journal.data(), "host");
        services->addListener("SettingsEvents", m_journal.data(), "settings");
        services->addListener("HeartbeatEvents", m_journal.data(), "heartbeat");
        services->addListener("GreeterEvents", m_journal.data(), "greeter");
        Corvane::registerLocalSocketMessageHandler(m_journal.data());
        services->registerService(m_journal.data());
    }

    QScopedPointer<cJournal> m_journal;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cJournalPlugin plugin;
    return &plugin;
}
