#include "install/cConditionEngine.h"

#include <QtQml/QJSEngine>
#include <QtQml/QJSValue>

namespace {

class cQtQml : public cConditionScript
{
public:
    cQtQml();

    Result evaluate(const QString& condition) override;
    void interrupt() override { m_engine.setInterrupted(true); }

private:
    QJSEngine m_engine;
    QJSValue m_evaluator;
};

cQtQml::cQtQml()
{
    const auto text = [](bool isSo) { return QLatin1String(isSo ? "true" : "false"); };
    // Qt Script has a print() of its own.
    m_engine.installExtensions(QJSEngine::ConsoleExtension);
    m_engine.evaluate(QStringLiteral("function print() { console.log(Array.prototype.join.call(arguments, ' ')) }"
                                     "function OSBitness() { return %1 }"
                                     "function isWinXP() { return %2 }"
                                     "function isVista() { return %3 }"
                                     "function isWin7() { return %4 }")
                          .arg(Bitness)
                          .arg(text(isWindows(5, 1)), text(isWindows(6, 0)), text(isWindows(6, 1))));
    // The engine tells a thrown value that is no Error from a result only where it is caught by the script.
    m_evaluator = m_engine.evaluate(
        QStringLiteral("(function(condition) { try { return [(0, eval)(condition)] } catch (e) { return e } })"));
}

cConditionScript::Result cQtQml::evaluate(const QString& condition)
{
    Result result;
    m_engine.setInterrupted(false);
    const QJSValue value = m_evaluator.call({condition});
    if (m_engine.isInterrupted())
        return failedAt(1, QStringLiteral("interrupted"));
    if (!value.isArray())
        return failedAt(qMax(1, value.property(QStringLiteral("lineNumber")).toInt()), value.toString());
    result.isTrue = value.property(0).toBool();
    return result;
}

} // namespace

std::unique_ptr<cConditionScript> cConditionScript::makeWithQtQml()
{
    return std::make_unique<cQtQml>();
}
