#include "plugins/cPluginDependency.h"

cPluginDependency::cPluginDependency(const QString& text) : m_name(text)
{
    const int nameSize = int(nameOf(text).size());
    if (nameSize == text.size())
        return;
    m_name.truncate(nameSize);
    m_number = text.midRef(nameSize + 1).toInt();
}

QStringView cPluginDependency::nameOf(const QString& text)
{
    const int colon = text.indexOf(QLatin1Char(':'));
    return colon < 0 ? QStringView(text) : QStringView(text).left(colon);
}
