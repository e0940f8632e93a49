#pragma once

#include <QtCore/QString>
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
            m_number = text.midRef(m_name.size() + 1).toInt();
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
