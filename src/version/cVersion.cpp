#include <Norvale/cVersion.h>

namespace {

/// A component is unsigned when read and signed when kept. All that stand in catalogues are a few digits, which are
/// read here without a text of their own.
qint32 component(QStringView text)
{
    constexpr int SureDigits = 9; // any more may be too many for the number
    qint32 number = 0;
    for (const QChar digit : text) {
        if (text.size() > SureDigits || digit < u'0' || digit > u'9')
            return static_cast<qint32>(text.toString().toUInt());
        number = number * 10 + (digit.unicode() - u'0');
    }
    return number;
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
    return QString::asprintf("%d.%02d.%03d", m_major, m_minor, m_build);
}
