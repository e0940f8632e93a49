#include "version/cPluginId.h"

#include "version/SafeName.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

QString cPluginId::toString() const
{
    return m_name + QLatin1Char('-') + m_version.toString();
}

QString cPluginId::packageFileName() const
{
    return toString() + QLatin1String(".zip");
}

QString cPluginId::caselessKey() const
{
    return caselessFileName(toString());
}

bool cPluginId::isSafe() const
{
    return isSafeFileName(m_name);
}

cPluginId cPluginId::parse(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("^(.+)-(-?[0-9]+)\\.(-?[0-9]+)\\.(-?[0-9]+)$"),
                                         QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = form.match(text);
    QStringList components;
    // A version is read from unsigned numbers and printed with signed ones of the same bits.
    for (int i = 2; i <= 4; ++i)
        components.append(QString::number(quint32(match.captured(i).toInt())));
    const cPluginId id(match.captured(1), cVersion(components.join(QLatin1Char('.'))));
    return id.toString() == text ? id : cPluginId();
}
