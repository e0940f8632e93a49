#include "trust/cTrustTarget.h"

#include "version/Shown.h"

#include <QtCore/QtEndian>

#include <algorithm>

namespace {

const struct
{
    const char* name;
    const char* shown;
    Cryptography::cDigest::Algorithm algorithm;
} Algorithms[] = {{"sha256", "SHA-256", Cryptography::cDigest::Sha256},
                  {"sha512", "SHA-512", Cryptography::cDigest::Sha512}};

// The first place behind the set "[...]" that begins at @p at, whose first character may be a bracket; 0 when it has no
// end.
int endOfSet(QStringView pattern, int at)
{
    const bool isNegated = at + 1 < pattern.size() && pattern.at(at + 1) == QLatin1Char('!');
    return int(pattern.indexOf(QLatin1Char(']'), at + (isNegated ? 3 : 2))) + 1;
}

// Of a set without its brackets.
bool isInSet(QStringView set, QChar character)
{
    const bool isNegated = set.startsWith(QLatin1Char('!'));
    for (int i = isNegated ? 1 : 0; i < set.size(); ++i) {
        const bool isRange = i + 2 < set.size() && set.at(i + 1) == QLatin1Char('-');
        const QChar last = set.at(isRange ? i + 2 : i);
        if (set.at(i) <= character && character <= last)
            return !isNegated;
        if (isRange)
            i += 2;
    }
    return isNegated;
}

// The place behind what stands for @p character at @p at; 0 when nothing does.
int stepOver(QStringView pattern, int at, QChar character)
{
    if (at >= pattern.size())
        return 0;
    const QChar wanted = pattern.at(at);
    const int end = wanted == QLatin1Char('[') ? endOfSet(pattern, at) : 0;
    if (end > 0)
        return isInSet(pattern.mid(at + 1, end - at - 2), character) ? end : 0;
    return wanted == QLatin1Char('?') || wanted == character ? at + 1 : 0;
}

// One part of a path. Only the last star is ever tried again, so that no pattern takes long.
bool fitsPart(QStringView pattern, QStringView text)
{
    int at = 0;
    int star = -1;
    int resume = 0;
    for (int i = 0; i < text.size();) {
        const int next = stepOver(pattern, at, text.at(i));
        if (at < pattern.size() && pattern.at(at) == QLatin1Char('*')) {
            star = at++;
            resume = i;
        } else if (next > 0) {
            at = next;
            ++i;
        } else if (star >= 0) {
            at = star + 1;
            i = ++resume;
        } else {
            return false;
        }
    }
    return std::all_of(pattern.begin() + at, pattern.end(), [](QChar rest) { return rest == QLatin1Char('*'); });
}

// Part by part: no star stands for a slash.
bool fits(QStringView pattern, QStringView path)
{
    for (;;) {
        const auto patternEnd = pattern.indexOf(QLatin1Char('/'));
        const auto pathEnd = path.indexOf(QLatin1Char('/'));
        if (patternEnd < 0 || pathEnd < 0)
            return patternEnd == pathEnd && fitsPart(pattern, path);
        if (!fitsPart(pattern.left(patternEnd), path.left(pathEnd)))
            return false;
        pattern = pattern.mid(patternEnd + 1);
        path = path.mid(pathEnd + 1);
    }
}

} // namespace

QString cTrustTarget::fault(const QByteArray& bytes) const
{
    cTrustCheck check(*this);
    check.add(bytes.constData(), bytes.size());
    return check.fault();
}

QString cTrustMeta::fault(const QByteArray& bytes, const QString& giver) const
{
    cTrustCheck check(length, hashes, giver);
    check.add(bytes.constData(), bytes.size());
    return check.fault();
}

cTrustCheck::cTrustCheck(const cTrustTarget& target)
    : cTrustCheck(target.length, target.hashes, QStringLiteral("the signed metadata"))
{
}

cTrustCheck::cTrustCheck(const std::optional<qint64>& length, const cTrustHashes& hashes, const QString& giver)
    : m_length(length), m_hashes(hashes), m_giver(giver)
{
    for (const auto& known : Algorithms) {
        if (hashes.contains(QLatin1String(known.name)))
            m_parts.push_back({QLatin1String(known.name), std::make_unique<Cryptography::cDigest>(known.algorithm)});
    }
}

void cTrustCheck::add(const char* bytes, qint64 size)
{
    m_taken += size;
    for (const Part& part : m_parts)
        part.digest->add(bytes, size);
}

QString cTrustCheck::fault()
{
    if (m_length && m_taken != *m_length)
        return QStringLiteral("has %1 instead of %2").arg(counted(m_taken, "byte")).arg(*m_length);
    if (m_parts.empty() && !m_hashes.isEmpty())
        return QStringLiteral("%1 gives neither its SHA-256 nor its SHA-512").arg(m_giver);
    for (const auto& known : Algorithms) {
        for (const Part& part : m_parts) {
            if (part.algorithm == QLatin1String(known.name) && part.digest->result() != m_hashes.value(part.algorithm))
                return QStringLiteral("its %1 is not the one that %2 gives").arg(QLatin1String(known.shown), m_giver);
        }
    }
    return QString();
}

bool cTrustDelegation::covers(const QString& path) const
{
    if (std::any_of(paths.begin(), paths.end(), [&](const QString& pattern) { return fits(pattern, path); }))
        return true;
    if (pathHashPrefixes.isEmpty())
        return false;
    const QString hash = QString::fromLatin1(Cryptography::sha256(path.toUtf8()).toHex());
    return std::any_of(pathHashPrefixes.begin(), pathHashPrefixes.end(),
                       [&](const QString& prefix) { return hash.startsWith(prefix, Qt::CaseInsensitive); });
}

QString cTrustBins::nameOf(const QString& path) const
{
    const QByteArray hash = bitLength > 0 ? Cryptography::sha256(path.toUtf8()) : QByteArray();
    return hash.isEmpty() ? QString() : nameOf(qFromBigEndian<quint32>(hash.constData()) >> (32 - bitLength));
}

bool cTrustBins::has(const QString& name) const
{
    bool isNumber = false;
    const quint32 bin = name.mid(namePrefix.size() + 1).toUInt(&isNumber, 16);
    return bitLength > 0 && isNumber && quint64(bin) >> bitLength == 0 && name == nameOf(bin);
}

QString cTrustBins::nameOf(quint32 bin) const
{
    const int digits = (bitLength + 3) / 4; // as the last of them has
    return QStringLiteral("%1-%2").arg(namePrefix).arg(bin, digits, 16, QLatin1Char('0'));
}
