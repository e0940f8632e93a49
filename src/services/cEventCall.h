#pragma once

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVarLengthArray>

#include <array>

/**
 * One event with its values, on its way to several listeners.
 *
 * `QMetaObject::invokeMethod` would tell of every listener that lacks the method on standard error, while here such a
 * listener is skipped silently. So the method is looked up by the same rule, and called only when it is there.
 */
class cEventCall
{
public:
    static constexpr int MaxValues = 10;
    using Values = std::array<QGenericArgument, MaxValues>;

    cEventCall(const QString& event, const Values& values);

    /// Calls the method of @p listener named @p prefix + event, at once or queued, whichever its thread asks for.
    void deliver(QObject* listener, const QString& prefix) const;

private:
    using Text = QVarLengthArray<char, 256>;

    static void appendLatin1(Text& text, const QString& string);
    static int indexOfMethod(const QMetaObject* meta, const char* signature);

    const Values& m_values;
    Text m_tail; ///< the end of the signature, which is the same for all prefixes: "Changed(QString,int)" and the zero
};
