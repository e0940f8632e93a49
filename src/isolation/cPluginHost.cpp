#include "isolation/cPluginHost.h"

#include <Norvale/IPluginMgr.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QCoreApplication>

#include <cstdlib>

cPluginHost::cPluginHost(qintptr end, bool (*initialize)())
    : m_initialize(initialize), m_link(end, cPluginLink::Side::Plugin, *this)
{
}

int cPluginHost::run()
{
    return QCoreApplication::exec();
}

void cPluginHost::serve(cFrameReader& frame, cFrameWriter& answer)
{
    if (frame.kind() == FrameKind::Load)
        return m_plugin ? void() : load(frame, answer);
    if (!m_plugin)
        return;
    if (frame.kind() == FrameKind::Call)
        m_services->serveCall(frame, answer);
    else if (frame.kind() == FrameKind::Event)
        m_services->serveEvent(frame);
    else if (frame.kind() == FrameKind::Start)
        conclude(m_plugin->start(), answer);
    else if (frame.kind() == FrameKind::Stop)
        conclude(m_plugin->stop(), answer);
}

void cPluginHost::load(cFrameReader& frame, cFrameWriter& answer)
{
    const QString name = frame.text();
    const cVersion version(frame.text());
    const QString folder = frame.text();
    QCoreApplication::setOrganizationName(frame.text());
    QCoreApplication::setApplicationName(frame.text());
    const int limit = int(frame.number());
    m_initialize(); // what it complains of the suite has complained of
    cLogCentral::setHooksOnly(true);
    cLogCentral::setDebuggerOutput(true);
    cLogCentral::addHook(this, "onLogLine");
    m_services.reset(new cPluginServices(m_link, limit));
    if (IPluginMgr* const plugins = IPluginMgr::instance()) {
        connect(plugins, &IPluginMgr::DoLoad, this,
                [this](const QString& it, bool* ok) { askForPlugin(false, it, ok); });
        connect(plugins, &IPluginMgr::DoLoadByService, this,
                [this](const QString& it, bool* ok) { askForPlugin(true, it, ok); });
    }
    m_plugin.reset(new cPluginInstance(cPluginId(name, version)));
    m_plugin->setFolder(folder);
    const bool isRead = m_plugin->readManifest();
    m_plugin->judge(isRead);
    conclude(isRead && m_plugin->loadLibrary(), answer);
}

void cPluginHost::conclude(bool isDone, cFrameWriter& answer) const
{
    answer.byte(isDone);
    if (!isDone)
        answer.text(m_plugin->errorString());
}

void cPluginHost::askForPlugin(bool isService, const QString& name, bool* ok)
{
    cFrameWriter frame(FrameKind::LoadPlugin);
    frame.byte(isService);
    frame.text(name);
    cFrameReader answer;
    const bool isLoaded = m_services->ask(frame, &answer, QStringLiteral("Loading \"%1\"").arg(name)) && answer.byte();
    if (ok)
        *ok = isLoaded;
}

void cPluginHost::onLogLine(const QString& channel, Qt::HANDLE, const QDateTime&, debugType level,
                            const QString& message)
{
    cFrameWriter frame(FrameKind::Log);
    frame.text(channel);
    frame.byte(quint8(level));
    frame.text(message);
    m_link.tell(frame);
}

// The suite has stopped the plugin, or is gone; then there is nobody whom it could work for.
void cPluginHost::onClosed()
{
    if (m_plugin && m_plugin->stage() == cPluginInstance::Stage::Started)
        std::_Exit(EXIT_FAILURE);
    QCoreApplication::quit();
}
