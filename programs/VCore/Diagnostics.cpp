#include "Diagnostics.h"

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

void showLine(const cLogEntry& line)
{
    const QString text = QStringLiteral("%1: %2").arg(line.channel, line.message.trimmed());
    if (line.level == debugError)
        Terminal::error(text);
    else if (line.level == debugWarning)
        Terminal::warning(text);
    else
        Terminal::note(text);
}

void showReason(const cLogEntry& line)
{
    if (line.level != debugInfo)
        showLine(line);
}

void show(void (*output)(const cLogEntry&))
{
    cLogCentral::setLineOutput(output);
    cLogCentral::setDebuggerOutput(true);
}

} // namespace

void Diagnostics::showLog()
{
    show(showLine);
}

void Diagnostics::showReasons()
{
    show(showReason);
}

void Diagnostics::catchFatalMessages()
{
    s_otherMessages = qInstallMessageHandler(onMessage);
}

void Diagnostics::setLastAct(const std::function<void()>& act)
{
    lastAct() = act;
}
