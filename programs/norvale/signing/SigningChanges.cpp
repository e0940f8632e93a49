#include "signing/SigningChanges.h"

#include "version/Shown.h"

namespace {

QStringList ofTargets(const QHash<QString, cTrustTarget>& before, const QHash<QString, cTrustTarget>& after)
{
    QStringList lines;
    for (auto it = after.begin(); it != after.end(); ++it) {
        const auto old = before.find(it.key());
        if (old == before.end())
            lines.append(QStringLiteral("new: ") + it.key());
        else if (old->length != it->length || old->hashes != it->hashes)
            lines.append(QStringLiteral("changed: ") + it.key());
    }
    for (auto it = before.begin(); it != before.end(); ++it) {
        if (!after.contains(it.key()))
            lines.append(QStringLiteral("gone: ") + it.key());
    }
    lines.sort();
    return lines;
}

QStringList ofRoles(const QMap<QString, cTrustRole>& before, const QMap<QString, cTrustRole>& after)
{
    QStringList lines;
    for (auto it = after.begin(); it != after.end(); ++it) {
        const QString now = SigningChanges::textOf(it.value());
        const QString then = before.contains(it.key()) ? SigningChanges::textOf(before[it.key()]) : QString();
        if (now != then)
            lines.append(QStringLiteral("%1 is signed by %2%3")
                             .arg(it.key(), now, then.isEmpty() ? QString() : QStringLiteral("; before by ") + then));
    }
    return lines;
}

} // namespace

QString SigningChanges::shortId(const QString& id)
{
    return id.left(8);
}

QString SigningChanges::textOf(const cTrustRole& role)
{
    QStringList ids;
    for (const QString& id : role.keyIds)
        ids.append(shortId(id));
    return QStringLiteral("%1 of %2: %3")
        .arg(role.threshold)
        .arg(counted(role.keyIds.size(), "key"), ids.join(QLatin1String(", ")));
}

QStringList SigningChanges::between(const cTrustMetadata* before, const cTrustMetadata& after)
{
    const cTrustMetadata none;
    const cTrustMetadata& old = before ? *before : none;
    QStringList lines = ofTargets(old.targets(), after.targets()) + ofRoles(old.roles(), after.roles());
    const QString document = QStringLiteral("%1 %2, ").arg(cTrustMetadata::nameOf(after.type())).arg(after.version());
    for (QString& line : lines)
        line.prepend(document);
    return lines;
}
