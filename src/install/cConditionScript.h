#pragma once

#include <QtCore/QString>

#include <memory>

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
        QString error; ///< "line L: message"; empty when the condition was evaluated
    };

    virtual ~cConditionScript();

    /// Evaluates @p condition as line 1 of a script.
    virtual Result evaluate(const QString& condition) = 0;

    /// Makes the evaluation that is running end soon.
    virtual void interrupt() = 0;

    static std::unique_ptr<cConditionScript> makeWithQtScript();
    static std::unique_ptr<cConditionScript> makeWithQtQml();

protected:
    /// The numbers that the global functions answer.
    static constexpr int Bitness = 64;
    static bool isWindows(int major, int minor);

    static Result failedAt(int line, const QString& message);
};
