#include "trust/cTrustClient.h"

#include "version/Shown.h"

#include <QtCore/QSet>

namespace {

const QString RootRole = QStringLiteral("root");
const QString TimestampRole = QStringLiteral("timestamp");
const QString SnapshotRole = QStringLiteral("snapshot");
const QString TargetsRole = QStringLiteral("targets");

QString fileOf(const QString& role)
{
    return role + QStringLiteral(".json");
}

} // namespace

cTrustClient::cTrustClient(const QString& folder, const QDateTime& now) : m_store(folder), m_now(now), m_set(now) {}

bool cTrustClient::refuse(const QString& name, const QString& reason)
{
    m_errorString = QStringLiteral("%1 is refused: %2").arg(name, reason);
    return false;
}

void cTrustClient::beginAnew()
{
    m_set = cTrustedSet(m_now);
    m_paths.clear();
    m_limits.clear();
    m_storedTimestamp.clear();
    m_errorString.clear();
    m_isUnreachable = false;
}

bool cTrustClient::trust(const QByteArray& root)
{
    beginAnew();
    if (!m_set.begin(root))
        return refuse(fileOf(RootRole), m_set.errorString());
    return save(RootRole, root) && m_store.forget(TimestampRole, &m_errorString) &&
           m_store.forget(SnapshotRole, &m_errorString) && m_store.forget(TargetsRole, &m_errorString);
}

bool cTrustClient::loadRoot()
{
    const QByteArray root = m_store.load(RootRole);
    if (root.isEmpty()) {
        m_errorString =
            QStringLiteral("no root is trusted: there is no %1 in %2").arg(fileOf(RootRole), m_store.folder());
        return false;
    }
    return m_set.begin(root) || refuse(fileOf(RootRole), m_set.errorString());
}

bool cTrustClient::isAsStored() const
{
    return !m_storedTimestamp.isEmpty() && m_store.load(RootRole) == m_storedRoot &&
           m_store.load(TimestampRole) == m_storedTimestamp;
}

void cTrustClient::noteStored()
{
    m_storedRoot = m_store.load(RootRole);
    m_storedTimestamp = m_store.load(TimestampRole);
}

void cTrustClient::setTime(const QDateTime& now)
{
    m_now = now;
    m_set.setTime(now);
}

bool cTrustClient::load()
{
    beginAnew();
    if (!loadRoot())
        return false;
    noteStored();
    if (m_set.updateTimestamp(m_store.load(TimestampRole), true) &&
        m_set.updateSnapshot(m_store.load(SnapshotRole), true) &&
        m_set.updateTargets(m_store.load(TargetsRole), true)) {
        index(TargetsRole);
        loadDelegated(true);
    }
    return true;
}

/// Takes what the store has of delegated roles. A role that several delegate to is verified for each of them, since a
/// search may come to it by any.
void cTrustClient::loadDelegated(bool isSeen)
{
    QStringList roles(TargetsRole);
    for (int i = 0; i < roles.size(); ++i) {
        const QString parent = roles.at(i);
        const QVector<cTrustDelegation> delegations = m_set.targets(parent)->delegations();
        for (const cTrustDelegation& delegation : delegations) {
            const QString& role = delegation.name;
            const QByteArray bytes = m_store.load(role);
            if (bytes.isEmpty() || !m_set.updateDelegated(bytes, role, parent, isSeen) || roles.contains(role))
                continue;
            roles.append(role);
            index(role);
        }
    }
}

bool cTrustClient::save(const QString& role, const QByteArray& bytes)
{
    return m_store.save(role, bytes, &m_errorString);
}

/// What the source calls the document of @p role.
QString cTrustClient::nameOf(const QString& role, const cTrustMeta& meta) const
{
    const QString file = fileOf(role);
    return m_set.root()->isConsistentSnapshot() ? QStringLiteral("%1.%2").arg(QString::number(meta.version), file)
                                                : file;
}

bool cTrustClient::fetch(ITrustSource& source, const QString& name, qint64 limit, QByteArray& bytes)
{
    QString reason;
    const ITrustSource::Answer answer = source.fetch(name, limit, bytes, reason);
    m_isAbsent = answer == ITrustSource::NotThere;
    if (answer == ITrustSource::TooLong)
        return refuse(name, QStringLiteral("has more than %1").arg(counted(limit, "byte")));
    m_isUnreachable = answer != ITrustSource::Arrived;
    if (m_isUnreachable)
        m_errorString = QStringLiteral("%1 cannot be fetched: %2").arg(name, reason);
    return !m_isUnreachable;
}

/// Of a document that another names, which may give its length. No length that anybody gives lifts the highest limit.
bool cTrustClient::fetch(ITrustSource& source, const QString& role, const cTrustMeta& meta, qint64 limit,
                         QByteArray& bytes)
{
    return fetch(source, nameOf(role, meta), qMin(meta.length.value_or(limit), TargetsLimit), bytes);
}

bool cTrustClient::refresh(ITrustSource& source)
{
    if (m_set.isWhole() && isAsStored()) {
        QByteArray bytes;
        source.expect(fileOf(TimestampRole), TimestampLimit);
        const bool hasRoot = fetch(source, nextRoot(), RootLimit, bytes);
        if (!hasRoot && (!m_isAbsent || !fetch(source, fileOf(TimestampRole), TimestampLimit, bytes)))
            return false;
        if (!hasRoot && bytes == m_storedTimestamp)
            return true;
    }
    beginAnew();
    if (!loadRoot() || !refreshRoot(source) || !refreshTimestamp(source) || !refreshSnapshot(source) ||
        !bring(TargetsRole, RootRole, source))
        return false;
    m_errorString.clear();
    loadDelegated(false);
    noteStored();
    return true;
}

/// The name of the root that may follow.
QString cTrustClient::nextRoot() const
{
    return QStringLiteral("%1.%2").arg(m_set.root()->version() + 1).arg(fileOf(RootRole));
}

bool cTrustClient::refreshRoot(ITrustSource& source)
{
    for (int i = 0; i < MaxRoots; ++i) {
        QByteArray bytes;
        const QString name = nextRoot();
        if (!fetch(source, name, RootLimit, bytes)) {
            if (!m_isAbsent)
                return false;
            break; // there is no newer one
        }
        if (!m_set.updateRoot(bytes))
            return refuse(name, m_set.errorString());
        // What was signed by keys that were taken away does not bind those that follow; not after a kill either, and
        // so it goes before the root that says so comes.
        if (m_set.isRotated() &&
            !(m_store.forget(TimestampRole, &m_errorString) && m_store.forget(SnapshotRole, &m_errorString)))
            return false;
        if (!save(RootRole, bytes))
            return false;
    }
    m_isUnreachable = false;
    return m_set.finishRoots() || refuse(fileOf(RootRole), m_set.errorString());
}

bool cTrustClient::refreshTimestamp(ITrustSource& source)
{
    const QByteArray seen = m_store.load(TimestampRole);
    const bool isSeen = !seen.isEmpty() && m_set.updateTimestamp(seen, true);
    if (isSeen) {
        const QByteArray snapshot = m_store.load(SnapshotRole);
        (void)(!snapshot.isEmpty() && m_set.updateSnapshot(snapshot, true));
    }
    const qint64 before = isSeen ? m_set.timestamp()->version() : 0;
    QByteArray bytes;
    if (!fetch(source, fileOf(TimestampRole), TimestampLimit, bytes))
        return false;
    if (!m_set.updateTimestamp(bytes))
        return refuse(fileOf(TimestampRole), m_set.errorString());
    if (m_set.timestamp()->version() == before)
        return true;
    // A timestamp that does not follow on what is here, as more keys must sign now, begins anew.
    if (!isSeen && !m_store.forget(SnapshotRole, &m_errorString))
        return false;
    return save(TimestampRole, bytes);
}

bool cTrustClient::refreshSnapshot(ITrustSource& source)
{
    const cTrustMeta meta = m_set.timestamp()->meta().value(fileOf(SnapshotRole));
    if (m_set.snapshot() && m_set.snapshot()->version() == meta.version &&
        m_set.updateSnapshot(m_store.load(SnapshotRole)))
        return true;
    QByteArray bytes;
    if (!fetch(source, SnapshotRole, meta, SnapshotLimit, bytes))
        return false;
    return m_set.updateSnapshot(bytes) ? save(SnapshotRole, bytes)
                                       : refuse(nameOf(SnapshotRole, meta), m_set.errorString());
}

/// Has the document of the role, which @p parent delegates to, in the set.
bool cTrustClient::bring(const QString& role, const QString& parent, ITrustSource& source)
{
    if (m_set.isDelegated(role, parent))
        return true;
    const QByteArray kept = m_store.load(role);
    if (!kept.isEmpty() && m_set.updateDelegated(kept, role, parent)) {
        index(role);
        return true;
    }
    const cTrustMetadata* const snapshot = m_set.snapshot();
    if (!snapshot || !snapshot->meta().contains(fileOf(role)))
        return refuse(fileOf(role), QStringLiteral("%1 does not name it").arg(fileOf(SnapshotRole)));
    const cTrustMeta meta = snapshot->meta().value(fileOf(role));
    QByteArray bytes;
    if (!fetch(source, role, meta, TargetsLimit, bytes))
        return false;
    if (!m_set.updateDelegated(bytes, role, parent))
        return refuse(nameOf(role, meta), m_set.errorString());
    index(role);
    return save(role, bytes);
}

void cTrustClient::index(const QString& role)
{
    for (const cTrustTarget& target : m_set.targets(role)->targets()) {
        m_paths.insert(target.hashes.value(QStringLiteral("sha256")), target.path);
        qint64& limit = m_limits[target.path.mid(target.path.lastIndexOf(QLatin1Char('/')) + 1)];
        limit = qMax(limit, target.length);
    }
}

/// The search: pre-order and depth first. @p has says whether the document of a role, of which there is one after that,
/// can be had; the first that cannot ends it.
std::optional<cTrustTarget> cTrustClient::walk(const QString& path, const Has& has) const
{
    QVector<QPair<QString, QString>> waiting{
        {TargetsRole, RootRole}}; // roles and who delegates to them; the last is next
    QSet<QString> visited;
    while (!waiting.isEmpty() && visited.size() <= MaxDelegations) {
        const auto [role, parent] = waiting.takeLast();
        if (visited.contains(role))
            continue;
        if (!has(role, parent))
            return std::nullopt;
        const cTrustMetadata& document = *m_set.targets(role);
        const auto target = document.targets().constFind(path);
        if (target != document.targets().constEnd())
            return *target;
        visited.insert(role);
        QVector<QPair<QString, QString>> next;
        for (const cTrustDelegation& delegation : document.delegationsOf(path)) {
            next.prepend({delegation.name, role});
            if (!delegation.isTerminating)
                continue;
            waiting.clear();
            break;
        }
        waiting += next;
    }
    return std::nullopt;
}

std::optional<cTrustTarget> cTrustClient::find(const QString& path, ITrustSource& source)
{
    m_errorString.clear();
    m_isUnreachable = false;
    const auto target =
        walk(path, [&](const QString& role, const QString& parent) { return bring(role, parent, source); });
    if (!target && m_errorString.isEmpty())
        m_errorString = QStringLiteral("no trusted role vouches for \"%1\"").arg(path);
    return target;
}

std::optional<cTrustTarget> cTrustClient::findContent(const QByteArray& sha256, qint64 length,
                                                      const QString& fileName) const
{
    const QList<QString> paths = sha256.isEmpty() ? QList<QString>() : m_paths.values(sha256);
    for (const QString& path : paths) {
        if (path.section(QLatin1Char('/'), -1) != fileName)
            continue;
        // Only for its own paths is a role trusted.
        const auto target =
            walk(path, [this](const QString& role, const QString& parent) { return m_set.isDelegated(role, parent); });
        if (target && target->length == length && target->hashes.value(QStringLiteral("sha256")) == sha256)
            return target;
    }
    return std::nullopt;
}
