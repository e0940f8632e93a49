#include "cWordCount.h"

#include <Norvale/IPlugin.h>
#include <Norvale/IPluginContext.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cLog.h>
#include <QtCore/QScopedPointer>

class cWordCountPlugin : public IPlugin
{
public:
    bool start(IPluginContext* context) override
    {
        m_wordCount.reset(new cWordCount);
        IServiceMgr::instance()->registerService(m_wordCount.data());
        context->log().info() << "somebody wants to count" << Qt::endl;
        return true;
    }

    void stop(IPluginContext*) override
    {
        IServiceMgr::instance()->unregisterService(m_wordCount.data());
        m_wordCount.reset();
    }

private:
    QScopedPointer<cWordCount> m_wordCount;
};

extern "C" Q_DECL_EXPORT IPlugin* createPlugin()
{
    static cWordCountPlugin plugin;
    return &plugin;
}
