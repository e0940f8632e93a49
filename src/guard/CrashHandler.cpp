#include "guard/CrashHandler.h"

#include "guard/CrashCatching.h"
#include "version/ForeignCode.h"

#include <atomic>
#include <cstdlib>
#include <exception>

namespace {

std::terminate_handler s_otherTerminate = nullptr;
QtMessageHandler s_otherMessages = nullptr;
bool s_isInstalled = false;
// Both functions stay where they are as long as others, which were put in place later, call them.
bool s_isTerminateChained = false;
bool s_isMessageChained = false;

/// Tells what was thrown, and goes on to abort().
void onTerminate()
{
    if (std::current_exception()) {
        try {
            std::rethrow_exception(std::current_exception());
        } catch (...) {
            cCrashReport::instance().setMessage(QStringLiteral("nobody caught it: the code %1").arg(whatWasThrown()));
        }
    }
    if (s_otherTerminate)
        s_otherTerminate();
    std::abort();
}

/// A host may end the process in its own way after a fatal message. What has to do with a plugin is told before; all
/// else is the host's or the framework's to tell, and comes to a report when the process goes on to its crash.
void onMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const auto tell = [](bool isToldOfAll) {
        cCrashReport& report = cCrashReport::instance();
        const cCrash crash = CrashCatching::here();
        if (isToldOfAll || report.isOfPlugin(crash))
            CrashCatching::tell(crash, [](cCrash&) {});
    };
    const bool isTold = type == QtFatalMsg && s_isInstalled;
    if (isTold) {
        cCrashReport::instance().setMessage(text);
        tell(false);
    }
    s_otherMessages(type, context, text);
    if (isTold)
        tell(true);
}

} // namespace

void CrashHandler::install(cGuardSlot* slot, const QString& folder)
{
    cCrashReport::instance().prepare(slot, folder);
    if (s_isInstalled)
        return;
    s_isInstalled = true;
    CrashCatching::catchAll();
    if (!s_isTerminateChained)
        s_otherTerminate = std::set_terminate(onTerminate);
    if (!s_isMessageChained)
        s_otherMessages = qInstallMessageHandler(onMessage);
}

void CrashHandler::remove()
{
    if (!s_isInstalled)
        return;
    s_isInstalled = false;
    CrashCatching::catchNothing();
    s_isTerminateChained = std::get_terminate() != onTerminate;
    if (!s_isTerminateChained)
        std::set_terminate(s_otherTerminate);
    const QtMessageHandler current = qInstallMessageHandler(s_otherMessages);
    s_isMessageChained = current != onMessage;
    if (s_isMessageChained)
        qInstallMessageHandler(current);
    cCrashReport::instance().forgetSlot();
}

QString CrashHandler::causeText(qint32 cause)
{
    if (const char* const name = CrashSystem::nameOf(cause))
        return QLatin1String(name);
    return QStringLiteral("0x%1").arg(quint32(cause), 8, 16, QLatin1Char('0'));
}

qint32 CrashCatching::tell(const cCrash& crash, void (*walk)(cCrash&))
{
    static std::atomic<quint64> teller{0};
    quint64 other = 0;
    if (teller.compare_exchange_strong(other, crash.thread)) {
        CrashHandler::hasBegun = true;
        cCrashReport::instance().begin(crash, walk);
    } else if (other != crash.thread) {
        waitForEnd();
    }
    if (!cCrashReport::instance().isDone())
        write();
    return cCrashReport::instance().cause();
}
