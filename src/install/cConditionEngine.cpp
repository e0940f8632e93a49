#include "install/cConditionEngine.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QMetaObject>
#include <QtCore/QObject>
#include <QtCore/QOperatingSystemVersion>
#include <QtCore/QSemaphore>

namespace {

#ifdef NORVALE_WITH_QTSCRIPT
constexpr auto BuiltIn = cConditionScript::makeWithQtScript;
#else
constexpr auto BuiltIn = cConditionScript::makeWithQtQml;
#endif

// Scripts may nest calls deeply; the default of a thread is smaller than that of a process on some systems.
constexpr uint StackSize = 8 << 20;

} // namespace

cConditionScript::~cConditionScript() = default;

bool cConditionScript::isWindows(int major, int minor)
{
    const QOperatingSystemVersion system = QOperatingSystemVersion::current();
    return system.type() == QOperatingSystemVersion::Windows && system.majorVersion() == major &&
           system.minorVersion() == minor;
}

cConditionScript::Result cConditionScript::failedAt(int line, const QString& message)
{
    Result result;
    result.error = QStringLiteral("line %1: %2").arg(QString::number(line), message);
    return result;
}

cConditionEngine::cConditionEngine() : cConditionEngine(BuiltIn) {}

cConditionEngine::cConditionEngine(ScriptMaker maker, int timeLimit)
    : m_worker(std::make_unique<QObject>()), m_timeLimit(timeLimit)
{
    m_thread.setStackSize(StackSize);
    m_worker->moveToThread(&m_thread);
    m_thread.start();
    // Without an application object Qt Script would end the process.
    if (QCoreApplication::instance())
        QMetaObject::invokeMethod(
            m_worker.get(), [&] { m_script = maker(); }, Qt::BlockingQueuedConnection);
}

cConditionEngine::~cConditionEngine()
{
    QMetaObject::invokeMethod(
        m_worker.get(), [this] { m_script.reset(); }, Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
}

bool cConditionEngine::isTrue(const QString& condition)
{
    if (!m_script) {
        m_errorString = QStringLiteral("line 1: scripts need an application object");
        return false;
    }
    cConditionScript::Result result;
    QSemaphore isDone;
    QMetaObject::invokeMethod(
        m_worker.get(),
        [&] {
            result = m_script->evaluate(condition);
            isDone.release();
        },
        Qt::QueuedConnection);
    if (!isDone.tryAcquire(1, m_timeLimit)) {
        m_script->interrupt();
        isDone.acquire();
    }
    m_errorString = result.error;
    return result.isTrue;
}
