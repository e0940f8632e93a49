#include "plugins/cPluginDependency.h"

cPluginDependency::cPluginDependency(const QString& text) : m_name(text)
{
    const int colon = text.indexOf(QLatin1Char(':'));
    if (colon < 0)
        return;
    m_name = text.left(colon);
    m_number = text.midRef(colon + 1).toInt();
}
