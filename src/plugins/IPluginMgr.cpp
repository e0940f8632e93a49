#include <Norvale/IPluginMgr.h>

#include "log/cFrameworkLog.h"
#include "version/ForeignCode.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QMetaType>
#include <QtCore/QThread>

namespace {

IPluginMgr* s_pluginMgr = nullptr;

/// A signal that nobody has been connected to is a request that nobody hears.
void reportUnheard(const QString& wanted)
{
    cFrameworkLog::plugins().warning().noquote()
        << wanted << "is not loaded: the plugins have not been started" << Qt::endl;
}

/// Emits a request. What a receiver other than the manager throws is logged, and is not for who has asked.
template <typename Emission>
void request(const Emission& emission)
{
    const QString thrown = whatIsThrownBy(emission);
    if (!thrown.isEmpty())
        cFrameworkLog::plugins().error().noquote() << "A receiver of a request to load" << thrown << Qt::endl;
}

/// Where the answer of a request goes: nowhere from another thread than the manager's, for it comes later then.
bool* answerFor(const IPluginMgr& manager, bool& answer)
{
    return manager.thread() == QThread::currentThread() ? &answer : nullptr;
}

} // namespace

IPluginMgr::IPluginMgr()
{
    qRegisterMetaType<bool*>("bool*");
    qRegisterMetaType<cPluginInfo::State>("cPluginInfo::State");
    s_pluginMgr = this;
}

IPluginMgr::~IPluginMgr()
{
    if (s_pluginMgr == this)
        s_pluginMgr = nullptr;
}

IPluginMgr* IPluginMgr::instance()
{
    return s_pluginMgr;
}

bool IPluginMgr::load(const QString& name)
{
    if (!isSignalConnected(QMetaMethod::fromSignal(&IPluginMgr::DoLoad)))
        reportUnheard(QStringLiteral("plugin \"%1\"").arg(name));
    bool isLoaded = false;
    request([&] { emit DoLoad(name, answerFor(*this, isLoaded)); });
    return isLoaded;
}

bool IPluginMgr::loadByService(const QString& service)
{
    if (!isSignalConnected(QMetaMethod::fromSignal(&IPluginMgr::DoLoadByService)))
        reportUnheard(QStringLiteral("the plugin of the service \"%1\"").arg(service));
    bool isLoaded = false;
    request([&] { emit DoLoadByService(service, answerFor(*this, isLoaded)); });
    return isLoaded;
}

void IPluginMgr::OnLoad(QString name, bool* ok)
{
    const bool isLoaded = loadPlugin(name);
    if (ok)
        *ok = isLoaded;
}

void IPluginMgr::OnLoadByService(QString service, bool* ok)
{
    const bool isLoaded = loadPluginByService(service);
    if (ok)
        *ok = isLoaded;
}
