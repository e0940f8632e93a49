#include "Diagnostics.h"

#include "HostSystem.h"
#include "common/ExitCode.h"
#include "common/Terminal.h"

#include <Norvale/cLogCentral.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QThread>

#include <cstdlib>

namespace {

QtMessageHandler s_otherMessages = nullptr;

std::function<void()>& lastAct()
{
    static std::function<void()> act;
    return act;
}

void onMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type != QtFatalMsg) {
        s_otherMessages(type, context, text);
        return;
    }
    Terminal::error(text);
    const bool isMainThread = qApp && QThread::currentThread() == qApp->thread();
    if (isMainThread && lastAct())
        lastAct()();
    std::_Exit(int(ExitCode::Fatal));
}

} // namespace

void Diagnostics::showLog()
{
    if (HostSystem::isDebuggerOutputShown()) {
        cLogCentral::setDebuggerOutput(true);
    } else {
        showReasons();
        cLogCentral::setHooksOnly(false);
    }
}

void Diagnostics::showReasons()
{
    static cTerminalHook hook;
    cLogCentral::addHook(&hook, "showLine");
    cLogCentral::setHooksOnly(true);
    cLogCentral::setDebuggerOutput(true);
}

void Diagnostics::catchFatalMessages()
{
    s_otherMessages = qInstallMessageHandler(onMessage);
}

void Diagnostics::setLastAct(const std::function<void()>& act)
{
    lastAct() = act;
}

void cTerminalHook::showLine(const QString& channel, Qt::HANDLE, const QDateTime&, debugType level,
                             const QString& message)
{
    const QString line = QStringLiteral("%1: %2").arg(channel, message.trimmed());
    if (level == debugError)
        Terminal::error(line);
    else if (level == debugWarning)
        Terminal::warning(line);
}
