#pragma once

#include <QtCore/QJsonValue>
#include <QtCore/QList>
#include <QtCore/QMetaMethod>
#include <QtCore/QString>
#include <QtCore/QVariant>

class QObject;
class cJsonValue;

/**
 * Calls a method of a service by name with JSON arguments, and brings back its result as JSON.
 *
 * The method is a public invokable or slot of the service's class, not one of QObject's own, with as many parameters as
 * there are arguments (10 at most). Of several, the first whose types fit the arguments as they are is taken, else the
 * first whose types they can be converted to. A service that is not there is asked for by its plugin's start.
 *
 * The call runs at once in the caller's thread, which is the host's main thread.
 */
class cServiceCall
{
public:
    enum Error { NoError, UnknownService, UnknownMethod, ArgumentsDoNotFit, CallRefused, ResultHasNoJson };

    /// Makes the call. @return false with error() and errorString().
    [[nodiscard]] bool call(const QString& serviceId, const QString& method, const cJsonValue& arguments);

    Error error() const { return m_error; }

    /// The error's name on the wire, such as "unknown_service".
    QString errorName() const;

    /// The error as a sentence that names service, method and arguments.
    QString errorString() const { return m_text; }

    /// What the method returned; null when it returns nothing.
    QJsonValue result() const { return m_result; }

    /// Type name of what the method returned, "void" for nothing.
    QString resultType() const { return m_resultType; }

private:
    bool fail(Error error, const QString& text);
    bool pickMethod(const QObject* service, const QString& method, const cJsonValue& arguments);
    bool invoke(const QString& serviceId);

    QMetaMethod m_method;
    QVariantList m_arguments;
    QJsonValue m_result;
    QString m_resultType;
    Error m_error = NoError;
    QString m_text;
};
