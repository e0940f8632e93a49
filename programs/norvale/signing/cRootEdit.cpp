#include "signing/cRootEdit.h"

#include "lint/InputFile.h"
#include "report/cFindings.h"
#include "signing/cSiteMetadata.h"
#include "trust/Cryptography.h"

#include <QtCore/QJsonArray>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace {

QString roleOf(const QString& word)
{
    return word.section(QLatin1Char('='), 0, 0);
}

QString valueOf(const QString& word)
{
    return word.section(QLatin1Char('='), 1);
}

QStringList valuesOf(const QStringList& words, const QString& role)
{
    QStringList values;
    for (const QString& word : words) {
        if (roleOf(word) == role)
            values.append(valueOf(word));
    }
    return values;
}

QString readKeyFile(const QString& path, QByteArray* bytes)
{
    constexpr qint64 Largest = 16 * 1024;
    cFindings findings;
    const bool isRead = readInputFile(path, Largest, bytes, findings);
    return isRead ? QString() : QStringLiteral("%1: %2").arg(path, findings.list().constFirst().text);
}

} // namespace

std::optional<cDraft> cRootEdit::first(const cRolesWanted& wanted)
{
    for (const cTrustMetadata::Type type : cSiteMetadata::roles()) {
        Role& role = m_roles[cTrustMetadata::nameOf(type)];
        role.days = Expiry::defaultDays(type);
        for (const cSigningKey& key : m_folder.namedAfter(cTrustMetadata::nameOf(type)))
            role.keys.append(key.key());
    }
    if (!readWishes(wanted) || !completeRoles(wanted))
        return std::nullopt;
    return cDraft(cTrustMetadata::Root, 1, content(), m_roles[QStringLiteral("root")].days);
}

std::optional<cDraft> cRootEdit::rotated(const cTrustMetadata& root, const QString& role, const QStringList& old,
                                         const cRolesWanted& wanted)
{
    for (auto it = root.roles().begin(); it != root.roles().end(); ++it) {
        Role& known = m_roles[it.key()];
        for (const QString& id : it->keyIds)
            known.keys.append(root.keys().value(id));
        known.threshold = it->threshold;
        known.count = it->keyIds.size();
        const auto type = std::find_if(cSiteMetadata::roles().begin(), cSiteMetadata::roles().end(),
                                       [&](cTrustMetadata::Type t) { return cTrustMetadata::nameOf(t) == it.key(); });
        known.days = type == cSiteMetadata::roles().end() ? 0 : Expiry::daysOf(root, *type);
    }
    QList<cTrustKey>& keys = m_roles[role].keys;
    for (const QString& word : old) {
        const auto isMeant = [&](const cTrustKey& key) { return key.id().startsWith(word); };
        if (std::count_if(keys.begin(), keys.end(), isMeant) != 1)
            return failUsage(QStringLiteral("\"%1\" is not the begin of one key of %2").arg(word, role)), std::nullopt;
        keys.erase(std::find_if(keys.begin(), keys.end(), isMeant));
    }
    if (old.isEmpty())
        keys.clear();
    if (!readWishes(wanted) || !completeRoles(wanted))
        return std::nullopt;
    return cDraft(cTrustMetadata::Root, root.version() + 1, content(), m_roles[QStringLiteral("root")].days);
}

bool cRootEdit::readWishes(const cRolesWanted& wanted)
{
    for (const QString& word : wanted.thresholds + wanted.days + wanted.keys + wanted.publicKeys) {
        if (!m_roles.contains(roleOf(word)) || valueOf(word).isEmpty())
            return failUsage(QStringLiteral("\"%1\" is no ROLE=VALUE; the roles are %2")
                                 .arg(word, QStringList(m_roles.keys()).join(QLatin1String(", "))));
    }
    for (const QString& word : wanted.thresholds) {
        if (!readThreshold(roleOf(word), valueOf(word)))
            return false;
    }
    return std::all_of(wanted.days.begin(), wanted.days.end(),
                       [&](const QString& word) { return readDays(roleOf(word), valueOf(word)); });
}

bool cRootEdit::readThreshold(const QString& role, const QString& value)
{
    constexpr int Most = 100;
    const int needed = value.section(QLatin1Char(':'), 0, 0).toInt();
    const int count = value.section(QLatin1Char(':'), 1, 1).toInt();
    if (needed < 1 || count < needed || count > Most)
        return failUsage(QStringLiteral("--threshold %1=%2: it takes M:N, M of N keys, such as 2:3").arg(role, value));
    m_roles[role].threshold = needed;
    m_roles[role].count = count;
    return true;
}

bool cRootEdit::readDays(const QString& role, const QString& value)
{
    constexpr int Most = 3650;
    const int days = value.toInt();
    if (days < 1 || days > Most)
        return failUsage(QStringLiteral("--expires %1=%2: it takes 1 to %3 days").arg(role, value).arg(Most));
    m_roles[role].days = days;
    return true;
}

bool cRootEdit::completeRoles(const cRolesWanted& wanted)
{
    const QList<QString> roles = m_roles.keys();
    return std::all_of(roles.begin(), roles.end(),
                       [&](const QString& role) { return addGivenKeys(role, wanted) && completeWithNewKeys(role); });
}

bool cRootEdit::addGivenKeys(const QString& role, const cRolesWanted& wanted)
{
    QStringList publicFiles = valuesOf(wanted.publicKeys, role);
    for (const QString& given : valuesOf(wanted.keys, role)) {
        const bool isCommand = given.startsWith(QLatin1String("command:"));
        if (isCommand && publicFiles.isEmpty()) {
            return failUsage(QStringLiteral("--key %1=%2: the public key of a command is given with --public %1=FILE")
                                 .arg(role, given));
        }
        if (!addGivenKey(role, given, isCommand ? publicFiles.takeFirst() : QString()))
            return false;
    }
    return publicFiles.isEmpty() || failUsage(QStringLiteral("--public %1=%2 is that of no --key %1=command:COMMAND")
                                                  .arg(role, publicFiles.constFirst()));
}

bool cRootEdit::addGivenKey(const QString& role, const QString& given, const QString& publicFile)
{
    if (!publicFile.isEmpty())
        return addCommand(role, given.section(QLatin1Char(':'), 1), publicFile);
    QByteArray pem;
    QString error = readKeyFile(given, &pem);
    if (!error.isEmpty())
        return fail(error);
    if (const std::optional<cSigningKey> key = cSigningKey::ofPem(pem, &error))
        return take(role, *key);
    QString publicError;
    const std::optional<cTrustKey> publicKey = cTrustKey::ofPem(pem, &publicError); // the private one is elsewhere
    if (!publicKey)
        return fail(QStringLiteral("%1: %2").arg(given, error));
    append(role, *publicKey);
    return true;
}

bool cRootEdit::addCommand(const QString& role, const QString& command, const QString& publicFile)
{
    QByteArray pem;
    QString error = readKeyFile(publicFile, &pem);
    if (!error.isEmpty())
        return fail(error);
    const std::optional<cSigningKey> key = cSigningKey::ofCommand(command.trimmed(), pem, &error);
    if (command.trimmed().isEmpty())
        return failUsage(QStringLiteral("--key %1=command: names no command").arg(role));
    return key ? take(role, *key) : fail(QStringLiteral("%1: %2").arg(publicFile, error));
}

// One that was added by a run that was cut off is here already.
void cRootEdit::append(const QString& role, const cTrustKey& key)
{
    QList<cTrustKey>& keys = m_roles[role].keys;
    if (std::none_of(keys.begin(), keys.end(), [&](const cTrustKey& known) { return known.id() == key.id(); }))
        keys.append(key);
}

bool cRootEdit::take(const QString& role, const cSigningKey& key)
{
    if (!m_folder.find(key.key().id()) && !m_folder.add(role, key))
        return fail(m_folder.errorString());
    append(role, key.key());
    return true;
}

bool cRootEdit::completeWithNewKeys(const QString& name)
{
    Role& role = m_roles[name];
    while (role.keys.size() < role.count) {
        const std::optional<cSigningKey> key = cSigningKey::make();
        if (!key)
            return fail(Cryptography::description());
        if (!take(name, *key))
            return false;
    }
    return true;
}

QJsonObject cRootEdit::content() const
{
    QJsonObject keys, roles;
    for (auto it = m_roles.begin(); it != m_roles.end(); ++it) {
        QJsonArray ids;
        for (const cTrustKey& key : it->keys) {
            ids.append(key.id());
            keys.insert(key.id(), key.object());
        }
        roles.insert(it.key(),
                     QJsonObject{{"keyids", ids}, {"threshold", it->threshold}, {Expiry::DaysMember, it->days}});
    }
    return {{"consistent_snapshot", true}, {"keys", keys}, {"roles", roles}};
}

bool cRootEdit::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}

bool cRootEdit::failUsage(const QString& reason)
{
    m_isUsageError = true;
    return fail(reason);
}
