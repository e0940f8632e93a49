#include <Norvale/cVersion.h>

namespace {

/// A component is unsigned when read and signed when kept.
qint32 component(const QString& text)
{
    return static_cast<qint32>(text.toUInt());
}

} // namespace

cVersion::cVersion(const QString& text)
{
    const int firstPoint = text.indexOf(QLatin1Char('.'));
    if (firstPoint < 0)
        return;
    m_major = component(text.left(firstPoint));

    const QString rest = text.mid(firstPoint + 1);
    const int secondPoint = rest.indexOf(QLatin1Char('.'));
    m_minor = component(rest.left(secondPoint));
    if (secondPoint >= 0)
        m_build = component(rest.mid(secondPoint + 1));
}

cVersion::~cVersion() = default;

QString cVersion::toString() const
{
    return QString::asprintf("%d.%02d.%03d", m_major, m_minor, m_build);
}
