#include <Norvale/cVersion.h>

#include "version/Numbers.h"

#include <cstdio>

namespace {

/// A component is unsigned when read and signed when kept.
qint32 component(QStringView text)
{
    return static_cast<qint32>(unsignedNumber(text));
}

} // namespace

cVersion::cVersion(const QString& text)
{
    const int firstPoint = text.indexOf(QLatin1Char('.'));
    if (firstPoint < 0)
        return;
    const QStringView view(text);
    m_major = component(view.left(firstPoint));
    const int secondPoint = text.indexOf(QLatin1Char('.'), firstPoint + 1);
    if (secondPoint < 0) {
        m_minor = component(view.mid(firstPoint + 1));
    } else {
        m_minor = component(view.mid(firstPoint + 1, secondPoint - firstPoint - 1));
        m_build = component(view.mid(secondPoint + 1));
    }
}

cVersion::~cVersion() = default;

QString cVersion::toString() const
{
    char text[3 * sizeof "-2147483648"];
    const int size = std::snprintf(text, sizeof text, "%d.%02d.%03d", m_major, m_minor, m_build);
    return QString::fromLatin1(text, size);
}
