#pragma once

#include <QtCore/QString>
#include <QtCore/QStringView>

/**
 * One dependency of a plugin, made from its text: "name:N", or "name" alone, which means number 1.
 */
class cPluginDependency
{
public:
    explicit cPluginDependency(const QString& text);

    /// The name alone, within @p text.
    static QStringView nameOf(const QString& text);

    const QString& name() const { return m_name; }

    /// The decimal value behind the first ":"; 0 when that is not a number.
    qint32 number() const { return m_number; }

private:
    QString m_name;
    qint32 m_number = 1;
};
