#include "install/cConditionEngine.h"

#include <QtCore/QMetaObject>
#include <QtScript/QScriptEngine>

namespace {

// The engine looks this often (milliseconds) whether it has been asked to stop.
constexpr int LookInterval = 50;

class cQtScript : public cConditionScript
{
public:
    cQtScript();

    Result evaluate(const QString& condition) override;
    void interrupt() override;

private:
    void define(const char* name, QScriptEngine::FunctionSignature function);

    static QScriptValue osBitness(QScriptContext*, QScriptEngine*) { return Bitness; }
    static QScriptValue isWinXP(QScriptContext*, QScriptEngine*) { return isWindows(5, 1); }
    static QScriptValue isVista(QScriptContext*, QScriptEngine*) { return isWindows(6, 0); }
    static QScriptValue isWin7(QScriptContext*, QScriptEngine*) { return isWindows(6, 1); }

    QScriptEngine m_engine;
};

cQtScript::cQtScript()
{
    // What asks the engine to stop is an event of its thread.
    m_engine.setProcessEventsInterval(LookInterval);
    define("OSBitness", osBitness);
    define("isWinXP", isWinXP);
    define("isVista", isVista);
    define("isWin7", isWin7);
}

void cQtScript::define(const char* name, QScriptEngine::FunctionSignature function)
{
    m_engine.globalObject().setProperty(QString::fromLatin1(name), m_engine.newFunction(function),
                                        QScriptValue::KeepExistingFlags);
}

cConditionScript::Result cQtScript::evaluate(const QString& condition)
{
    Result result;
    const QScriptValue value = m_engine.evaluate(condition, QString(), 1);
    if (m_engine.hasUncaughtException())
        result = failedAt(m_engine.uncaughtExceptionLineNumber(), value.toString());
    else if (!value.isValid())
        result = failedAt(1, QStringLiteral("interrupted"));
    else
        result.isTrue = value.toBool();
    m_engine.clearExceptions();
    return result;
}

void cQtScript::interrupt()
{
    QMetaObject::invokeMethod(
        &m_engine, [this] { m_engine.abortEvaluation(); }, Qt::QueuedConnection);
}

} // namespace

std::unique_ptr<cConditionScript> cConditionScript::makeWithQtScript()
{
    return std::make_unique<cQtScript>();
}
