#pragma once

#include <QtCore/QString>
#include <QtCore/QThread>

#include <memory>

class QObject;
class cConditionScript;

/**
 * Evaluates the conditions of install and uninstall command lines.
 *
 * A condition is the text of a script, of which the last value counts. It may call OSBitness(), isWinXP(), isVista()
 * and isWin7(). Behind it works Qt Script, or Qt Qml's engine where Qt Script is not found; conditions see no
 * difference. One engine serves all conditions, so what one declares the next can see.
 *
 * The engine has a thread of its own, so that a condition that never ends can be stopped. Use from one thread.
 */
class cConditionEngine
{
public:
    using ScriptMaker = std::unique_ptr<cConditionScript> (*)();

    /// Longest that a condition may run, in milliseconds; then it is stopped and counts as failed.
    static constexpr int DefaultTimeLimit = 10000;

    /// With the engine that the library was built with.
    cConditionEngine();
    explicit cConditionEngine(ScriptMaker maker, int timeLimit = DefaultTimeLimit);
    ~cConditionEngine();

    cConditionEngine(const cConditionEngine&) = delete;
    cConditionEngine& operator=(const cConditionEngine&) = delete;

    /// Whether @p condition holds. False also when it cannot be evaluated: errorString() is not empty then.
    bool isTrue(const QString& condition);

    /// "line L: message" of the last evaluation, counted in the condition; empty when it did not fail.
    QString errorString() const { return m_errorString; }

private:
    QThread m_thread;
    std::unique_ptr<QObject> m_worker;          // lives in m_thread; what is run there is sent to it
    std::unique_ptr<cConditionScript> m_script; // made, used and destroyed in m_thread
    int m_timeLimit;
    QString m_errorString;
};
