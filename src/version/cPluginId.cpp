#include "version/cPluginId.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

#include <algorithm>

namespace {

// A file name's limit of 255 bytes, less what the library appends: version, extension and the suffix of a file that
// is being written.
constexpr int MaxBytes = 200;

bool isForbidden(QChar character)
{
    constexpr ushort Delete = 0x7f;
    return character.unicode() < ' ' || character.unicode() == Delete ||
           QLatin1String("/\\:*?\"<>|").contains(character);
}

/// Windows takes these names, with any extension and in any case, for devices, in whatever folder they stand.
bool isDevice(const QString& name)
{
    const QString stem = name.section(QLatin1Char('.'), 0, 0).trimmed().toUpper();
    for (const char* device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
        if (stem == QLatin1String(device))
            return true;
    }
    const bool isPort = stem.startsWith(QLatin1String("COM")) || stem.startsWith(QLatin1String("LPT"));
    // The small raised numbers of Latin-1 count as digits there.
    return isPort && stem.size() == 4 &&
           (stem.back().isDigit() || QStringLiteral("\u00b9\u00b2\u00b3").contains(stem.back()));
}

} // namespace

bool isSafeFileName(const QString& name)
{
    // Half a character has no form in a file name and would become another character.
    if (name.isEmpty() || !name.isValidUtf16() || name.toUtf8().size() > MaxBytes)
        return false;
    if (name.endsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char(' '))) // with "." and ".."
        return false;
    return std::none_of(name.begin(), name.end(), isForbidden) && !isDevice(name);
}

bool isSafePackageName(const QString& name)
{
    return isSafeFileName(name) && !name.contains(QLatin1String(".."));
}

QString caselessFileName(const QString& name)
{
    return name.normalized(QString::NormalizationForm_C).toCaseFolded();
}

QString cPluginId::toString() const
{
    return m_name + QLatin1Char('-') + m_version.toString();
}

QString cPluginId::packageFileName() const
{
    return toString() + QLatin1String(".zip");
}

QString cPluginId::deltaFileName(const cVersion& from) const
{
    return toString() + QLatin1String("-from-") + from.toString() + QLatin1String(".delta");
}

QString cPluginId::caselessKey() const
{
    return caselessFileName(toString());
}

bool cPluginId::isSafe() const
{
    return isSafePackageName(m_name);
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
