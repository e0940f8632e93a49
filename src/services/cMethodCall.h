#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVarLengthArray>

#include <array>

class cLog;

/**
 * A call by name with its values, made once and carried to one object or to several.
 *
 * It finds and calls a method as `QMetaObject::invokeMethod` does, with two differences: nothing is printed for an
 * object that lacks the method, and what is the same for all objects is done once.
 */
class cMethodCall
{
public:
    static constexpr int MaxValues = 10;
    using Values = std::array<QGenericArgument, MaxValues>;

    /// @p name is taken as Latin-1, other characters as '?'. The values must outlive the call.
    cMethodCall(const QString& name, const Values& values);

    /// What callDirectly() throws when the method was there, and whoever makes the call elsewhere could not.
    struct FailedElsewhere
    {
    };

    /// For an object that stands for one of another process: the call that this thread makes has failed. It has told
    /// why.
    static void failElsewhere();

    /// Calls the method of @p object, at once and in this thread. What the method throws goes on to the caller.
    /// @return false when it has no such method for these types; @p result is then untouched.
    bool callDirectly(QObject* object, QGenericReturnArgument result) const;

    /// Why callDirectly() has answered false, as a sentence that goes on after the names of method and service.
    QString whyNot(const QObject* object, const QString& name, const QGenericReturnArgument& result) const;

    /// Calls the method of @p object whose name is @p prefix + name, at once or queued, whichever its thread asks for;
    /// does nothing when it has no such method for these types. What the method throws is logged to @p log.
    void deliver(QObject* object, const QString& prefix, const cLog& log) const;

private:
    using Text = QVarLengthArray<char, 256>;

    static void appendLatin1(Text& text, const QString& string);
    static int indexOf(const QObject* object, const char* signature);
    void post(QObject* object, int method, const cLog& log) const;

    const Values& m_values;
    Text m_signature; // such as "changed(QString,int)", with the zero at its end
};
