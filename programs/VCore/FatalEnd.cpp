#include "FatalEnd.h"

#include "ExitCode.h"
#include "terminal/Terminal.h"

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
    Terminal::reason(text);
    const bool isMainThread = qApp && QThread::currentThread() == qApp->thread();
    if (isMainThread && lastAct())
        lastAct()();
    std::_Exit(int(ExitCode::Fatal));
}

} // namespace

void FatalEnd::install()
{
    s_otherMessages = qInstallMessageHandler(onMessage);
}

void FatalEnd::setLastAct(const std::function<void()>& act)
{
    lastAct() = act;
}
