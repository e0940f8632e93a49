#pragma once

#include <QtCore/QString>
#include <QtCore/QThread>

#include <memory>

class QObject;

/**
 * A script engine as cConditionEngine needs it; there is one for Qt Script and one for Qt Qml, with the same answers.
 *
 * Made, used and destroyed in one thread with an event loop; interrupt() alone may be called from another.
 */
class cConditionScript
{
public:
    /// What a condition came to.
    struct Result
    {
        bool isTrue = false;
        QString error; // "line L: message"; empty when the condition was evaluated
    };

    virtual ~cConditionScript();

    /// Evaluates @p condition as line 1 of a script.
    virtual Result evaluate(const QString& condition) = 0;

    /// Makes the evaluation that is running end soon.
    virtual void interrupt() = 0;

    static std::unique_ptr<cConditionScript> makeWithQtScript();
    static std::unique_ptr<cConditionScript> makeWithQtQml();

protected:
    static constexpr int Bitness = 64; // that OSBitness() answers
    static bool isWindows(int major, int minor);

    static Result failedAt(int line, const QString& message);
};

/**
 * Evaluates the conditions of install and uninstall command lines.
 *
 * A condition is the text of a script, of which the last value counts. It may call OSBitness(), isWinXP(), isVista()
 * and isWin7(). Behind it works Qt Script, or Qt Qml's engine where Qt Script is not found; what differs stands in
 * docs/file-formats.md. One engine serves all conditions, so what one declares the next can see.
 *
 * The engine has a thread of its own, so that a condition that never ends can be stopped. Use from one thread.
 */
class cConditionEngine
{
public:
    using ScriptMaker = std::unique_ptr<cConditionScript> (*)();

    // Longest that a condition may run, in milliseconds; then it is stopped and counts as failed.
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
