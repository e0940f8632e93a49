#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QStringView>

/**
 * One dependency of a plugin, made from its text: "name:N", or "name" alone, which means number 1.
 */
class cPluginDependency
{
public:
    explicit cPluginDependency(const QString& text) : m_name(nameOf(text).toString())
    {
        if (m_name.size() < text.size())
            m_number = text.mid(m_name.size() + 1).toInt();
    }

    /// The name alone, within @p text.
    static QStringView nameOf(const QString& text)
    {
        const int colon = text.indexOf(QLatin1Char(':'));
        return colon < 0 ? QStringView(text) : QStringView(text).left(colon);
    }

    const QString& name() const { return m_name; }

    /// The decimal value behind the first ":"; 0 when that is not a number.
    qint32 number() const { return m_number; }

private:
    QString m_name;
    qint32 m_number = 1;
};

/// How many names of a long path are shown at each end: a line of a log is read by people.
constexpr int ShownOfPath = 8;

/// The names along a path through dependencies, "A -> B -> C"; of a long path both ends.
/// @p nameAt answers the name at a place; it is asked once for each that is shown, of the @p count places in order.
template <typename NameAt>
QString pathText(int count, NameAt nameAt)
{
    const bool isLong = count > 2 * ShownOfPath;
    QStringList names;
    for (int i = 0; i < count; ++i) {
        if (isLong && i == ShownOfPath) {
            names.append(QStringLiteral("..."));
            i = count - ShownOfPath;
        }
        names.append(nameAt(i));
    }
    return names.join(QStringLiteral(" -> "));
}
