#pragma once

#include <QtCore/QString>

#include <memory>

/**
 * Evaluates the conditions of install and uninstall command lines.
 *
 * A condition is the text of a script, of which the last value counts. It may call OSBitness(), isWinXP(), isVista()
 * and isWin7(). Behind it works Qt Script, or Qt Qml's engine where Qt Script is not found; conditions see no
 * difference. One engine serves all conditions, so what one declares the next can see. Main thread only.
 */
class cConditionEngine
{
public:
    /// Longest that one condition may run; one that runs longer is stopped and counts as failed.
    static constexpr int TimeLimitMs = 5000;

    cConditionEngine();
    ~cConditionEngine();

    /// Whether @p condition holds. False also when it cannot be evaluated: errorString() is not empty then.
    bool isTrue(const QString& condition);

    /// Why the last evaluation failed, with the line in the condition; empty when it did not.
    QString errorString() const { return m_errorString; }

private:
    struct Engine;

    std::unique_ptr<Engine> m_engine;
    QString m_errorString;
};
