#include "trust/cTrustedSet.h"

#include "version/Shown.h"

#include <QtCore/QSet>

namespace {

const QString TimestampFile = QStringLiteral("timestamp.json");
const QString SnapshotFile = QStringLiteral("snapshot.json");

QString shownTime(const QDateTime& time)
{
    return time.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm 'UTC'"));
}

QSet<QByteArray> keysOf(const cTrustMetadata& root, const char* role)
{
    QSet<QByteArray> keys;
    for (const QString& id : root.roles().value(QLatin1String(role)).keyIds)
        keys.insert(root.keys().value(id).material());
    return keys;
}

qint64 versionOf(const cTrustMetadata* document)
{
    return document ? document->version() : 0;
}

QString olderThan(qint64 version, qint64 seen)
{
    return QStringLiteral("version %1 is older than what was seen, %2").arg(version).arg(seen);
}

} // namespace

bool cTrustedSet::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}

bool cTrustedSet::read(cTrustMetadata::Type type, const QByteArray& text, std::optional<cTrustMetadata>& document)
{
    document = cTrustMetadata::read(type, text, &m_errorString);
    return document.has_value();
}

bool cTrustedSet::isSigned(const cTrustMetadata& document, const cTrustRole& role, const cTrustMetadata& giver)
{
    const int count = document.signedBy(role, giver.keys());
    return count >= role.threshold ||
           fail(QStringLiteral("signed by %1 of %2").arg(count).arg(counted(role.threshold, "key")));
}

// @p seen is the version that it takes the place of, 0 for none.
bool cTrustedSet::isCurrent(const cTrustMetadata& document, qint64 seen)
{
    constexpr int LongAgo = 10; // years
    if (m_now < document.expires())
        return true;
    QString reason = QStringLiteral("expired on %1").arg(shownTime(document.expires()));
    if ((seen > 0 && seen < document.version()) || document.expires().addYears(LongAgo) < m_now)
        reason += QStringLiteral("; this computer's clock says %1, which may be wrong").arg(shownTime(m_now));
    return fail(reason);
}

bool cTrustedSet::hasVersion(const cTrustMetadata& document, qint64 version, const cTrustMetadata* seen,
                             const QString& giver)
{
    if (document.version() == version)
        return true;
    if (seen && document.version() < seen->version())
        return fail(olderThan(document.version(), seen->version()));
    return fail(QStringLiteral("has version %1 instead of %2, which %3 gives")
                    .arg(QString::number(document.version()), QString::number(version), giver));
}

bool cTrustedSet::begin(const QByteArray& root)
{
    std::optional<cTrustMetadata> document;
    if (!Cryptography::isAvailable())
        return fail(Cryptography::description());
    if (!read(cTrustMetadata::Root, root, document) ||
        !isSigned(*document, document->roles().value(QStringLiteral("root")), *document))
        return false;
    *this = cTrustedSet(m_now);
    m_root = document;
    m_firstRoot = m_root->version();
    return true;
}

bool cTrustedSet::updateRoot(const QByteArray& root)
{
    std::optional<cTrustMetadata> document;
    if (!m_root)
        return fail(QStringLiteral("no root is trusted yet"));
    if (!read(cTrustMetadata::Root, root, document))
        return false;
    const QString role = QStringLiteral("root");
    if (!isSigned(*document, m_root->roles().value(role), *m_root) ||
        !isSigned(*document, document->roles().value(role), *document) ||
        !hasVersion(*document, m_root->version() + 1, this->root(), QStringLiteral("its name")))
        return false;
    for (const char* name : {"timestamp", "snapshot"}) {
        if (!keysOf(*document, name).contains(keysOf(*m_root, name)))
            m_isRotated = true;
    }
    m_root = document;
    return true;
}

bool cTrustedSet::isWhole() const
{
    const auto isGood = [&](const std::optional<cTrustMetadata>& document) {
        return document && m_now < document->expires();
    };
    if (!isGood(m_root) || !isGood(m_timestamp) || !isGood(m_snapshot) ||
        !m_targets.contains(QStringLiteral("targets")))
        return false;
    for (auto role = m_targets.begin(); role != m_targets.end(); ++role) {
        const cTrustMeta meta = m_snapshot->meta().value(role.key() + QStringLiteral(".json"));
        if (meta.version != role->version() || role->expires() <= m_now)
            return false;
    }
    return m_timestamp->meta().value(SnapshotFile).version == m_snapshot->version();
}

bool cTrustedSet::finishRoots()
{
    return m_root ? isCurrent(*m_root, m_firstRoot) : fail(QStringLiteral("no root is trusted yet"));
}

bool cTrustedSet::updateTimestamp(const QByteArray& timestamp, bool isSeen)
{
    std::optional<cTrustMetadata> document;
    if (!m_root)
        return fail(QStringLiteral("no root is trusted yet"));
    if (!read(cTrustMetadata::Timestamp, timestamp, document) ||
        !isSigned(*document, m_root->roles().value(QStringLiteral("timestamp")), *m_root))
        return false;
    if (!isSeen && m_timestamp && m_timestamp->version() == document->version())
        document = m_timestamp;
    if (!isSeen && (!isNewer(*document) || !isCurrent(*document, versionOf(this->timestamp()))))
        return false;
    m_timestamp = document;
    m_isTimestampNew = !isSeen;
    m_isSnapshotNew = false;
    return true;
}

// Neither it nor the snapshot that it names is older than what the trusted one says.
bool cTrustedSet::isNewer(const cTrustMetadata& timestamp)
{
    if (!m_timestamp)
        return true;
    if (timestamp.version() < m_timestamp->version())
        return fail(olderThan(timestamp.version(), m_timestamp->version()));
    const qint64 version = timestamp.meta().value(SnapshotFile).version;
    const qint64 seen = m_timestamp->meta().value(SnapshotFile).version;
    return version >= seen ||
           fail(QStringLiteral("the %1 that it names: %2").arg(SnapshotFile, olderThan(version, seen)));
}

bool cTrustedSet::updateSnapshot(const QByteArray& snapshot, bool isSeen)
{
    std::optional<cTrustMetadata> document;
    if (!m_timestamp || (!isSeen && !m_isTimestampNew))
        return fail(QStringLiteral("there is no new timestamp yet"));
    const cTrustMeta meta = m_timestamp->meta().value(SnapshotFile);
    const QString fault = isSeen ? QString() : meta.fault(snapshot, TimestampFile);
    if (!fault.isEmpty())
        return fail(fault);
    if (!read(cTrustMetadata::Snapshot, snapshot, document) ||
        !isSigned(*document, m_root->roles().value(QStringLiteral("snapshot")), *m_root))
        return false;
    if (!isSeen && (!hasVersion(*document, meta.version, this->snapshot(), TimestampFile) || !keepsAll(*document) ||
                    !isCurrent(*document, versionOf(this->snapshot()))))
        return false;
    m_snapshot = document;
    m_isSnapshotNew = !isSeen;
    return true;
}

// Whatever the trusted snapshot names is still there, and not older.
bool cTrustedSet::keepsAll(const cTrustMetadata& snapshot)
{
    if (!m_snapshot)
        return true;
    const QMap<QString, cTrustMeta>& seen = m_snapshot->meta();
    for (auto it = seen.begin(); it != seen.end(); ++it) {
        const auto now = snapshot.meta().constFind(it.key());
        if (now == snapshot.meta().constEnd())
            return fail(QStringLiteral("%1, which was seen before, is not in it").arg(it.key()));
        if (now->version < it->version)
            return fail(QStringLiteral("the %1 that it names: %2").arg(it.key(), olderThan(now->version, it->version)));
    }
    return true;
}

bool cTrustedSet::updateTargets(const QByteArray& targets, bool isSeen)
{
    return updateDelegated(targets, QStringLiteral("targets"), QStringLiteral("root"), isSeen);
}

bool cTrustedSet::updateDelegated(const QByteArray& targets, const QString& name, const QString& parent, bool isSeen)
{
    std::optional<cTrustMetadata> document;
    if (!m_snapshot || (!isSeen && !m_isSnapshotNew))
        return fail(QStringLiteral("there is no new snapshot yet"));
    const std::optional<cTrustRole> role = roleOf(name, parent);
    if (!role)
        return fail(QStringLiteral("\"%1\" does not delegate to it").arg(parent));
    const auto meta = m_snapshot->meta().constFind(name + QStringLiteral(".json"));
    if (meta == m_snapshot->meta().constEnd())
        return fail(QStringLiteral("%1 does not name it").arg(SnapshotFile));
    const QString fault = isSeen ? QString() : meta->fault(targets, SnapshotFile);
    if (!fault.isEmpty())
        return fail(fault);
    if (!read(cTrustMetadata::Targets, targets, document) || !isSigned(*document, *role, *parentOf(parent)))
        return false;
    const cTrustMetadata* const seen = this->targets(name);
    if (!isSeen &&
        (!hasVersion(*document, meta->version, seen, SnapshotFile) || !isCurrent(*document, versionOf(seen))))
        return false;
    take(*document, name, parent);
    return true;
}

void cTrustedSet::take(const cTrustMetadata& document, const QString& name, const QString& parent)
{
    const cTrustMetadata* const before = targets(name);
    if (!before || before->signedBytes() != document.signedBytes()) {
        m_parents.remove(name);
        for (QStringList& parents : m_parents) // it may delegate to others now
            parents.removeAll(name);
    }
    m_targets.insert(name, document);
    m_parents[name].append(parent);
}

const cTrustMetadata* cTrustedSet::targets(const QString& role) const
{
    const auto found = m_targets.constFind(role);
    return found == m_targets.constEnd() ? nullptr : &*found;
}

const cTrustMetadata* cTrustedSet::parentOf(const QString& parent) const
{
    return parent == QLatin1String("root") ? root() : targets(parent);
}

std::optional<cTrustRole> cTrustedSet::roleOf(const QString& name, const QString& parent) const
{
    const cTrustMetadata* const giver = parentOf(parent);
    if (!giver)
        return std::nullopt;
    return giver == root() ? std::make_optional(giver->roles().value(name)) : giver->delegatedRole(name);
}
