#include "signing/cSiteSigner.h"

#include "signing/SigningChanges.h"
#include "signing/cSiteTargets.h"
#include "site/cSiteFiles.h"
#include "trust/CanonicalJson.h"
#include "trust/Cryptography.h"
#include "trust/cTrustedSet.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace {

bool isSame(const QJsonObject& a, const QJsonObject& b)
{
    return CanonicalJson::write(a) == CanonicalJson::write(b);
}

/// The copies of the descriptions that @p targets vouches for.
QStringList copiesOf(const cDraft& targets)
{
    QStringList copies;
    for (const cTrustTarget& target : targets.metadata().targets()) {
        if (cSiteTargets::isDescription(target.path))
            copies.append(cSiteTargets::copyOf(target.path, target.hashes.value(QStringLiteral("sha256"))));
    }
    return copies;
}

QStringList keysOf(const cTrustMetadata& root, cTrustMetadata::Type type)
{
    return root.roles().value(cTrustMetadata::nameOf(type)).keyIds;
}

} // namespace

cSiteSigner::cSiteSigner(const QString& site, const cKeyFolder& keys, cSiteFiles& files)
    : m_site(QDir(site).absolutePath()), m_keys(keys), m_files(files)
{
}

ExitCode cSiteSigner::run()
{
    if (!Cryptography::isAvailable())
        return fail(Cryptography::description()), m_code;
    if (!m_metadata.read(m_site))
        return fail(m_metadata.errorString()), m_code;
    cSiteFiles::sweep(m_metadata.folder(), QStringLiteral("*.json"));
    cSiteFiles::sweep(m_metadata.folder() + QStringLiteral("/staged"), QStringLiteral("*.json"));
    m_isCopy = !QFileInfo::exists(m_site + QStringLiteral("/site.xml"));
    if (!(m_isCopy ? signCopy() : signSite()))
        return m_code;
    return m_waiting.isEmpty() ? ExitCode::Ok : ExitCode::NotSigned;
}

// Without the site's files nobody can tell what is to be published, so only what waits gets signatures.
bool cSiteSigner::signCopy()
{
    if (m_isRefreshing)
        return fail(QStringLiteral("%1 is a copy of the metadata alone: refresh the site").arg(m_site));
    bool isAny = false;
    for (const Type type : cSiteMetadata::roles()) {
        const cDraft* const staged = m_metadata.staged(type);
        std::optional<cDraft> draft = staged ? std::make_optional(*staged) : std::nullopt;
        if (type == cTrustMetadata::Root)
            draft = rootToSign();
        if (!draft || (m_only && *m_only != type))
            continue;
        isAny = true;
        QString told;
        if (!addSignatures(*draft))
            return false;
        const bool isComplete = draft->isSignedFor(m_metadata.root().metadata(), &told) &&
                                (type != cTrustMetadata::Root || draft->isSignedFor(draft->metadata(), &told));
        noteChanges(*draft);
        if (!wait(*draft, told))
            return false;
        if (isComplete)
            m_waiting.removeOne(type);
    }
    return isAny ||
           fail(QStringLiteral("nothing waits in %1/staged: norvale site sign without the keys puts there what "
                               "is to be signed")
                    .arg(m_metadata.folder()));
}

bool cSiteSigner::signSite()
{
    if (!m_isRefreshing && !settleRoot())
        return false;
    if (settleOthers())
        return publish();
    if (m_code != ExitCode::Ok)
        return false;
    // Under the next root nothing that is published would be valid, so that it waits, too.
    const auto root = m_chosen.constFind(cTrustMetadata::Root);
    return root == m_chosen.constEnd() || wait(root->draft, QStringLiteral("signed, and waits for the others"));
}

const cTrustMetadata& cSiteSigner::newestRoot() const
{
    const auto chosen = m_chosen.constFind(cTrustMetadata::Root);
    return chosen == m_chosen.constEnd() ? m_metadata.root().metadata() : chosen->draft.metadata();
}

std::optional<cDraft> cSiteSigner::rootToSign() const
{
    const cTrustMetadata& root = m_metadata.root().metadata();
    if (m_nextRoot)
        return m_nextRoot;
    const cDraft* const staged = m_metadata.staged(cTrustMetadata::Root);
    if (staged && staged->metadata().version() == root.version() + 1)
        return *staged;
    const QStringList ids = keysOf(root, cTrustMetadata::Root);
    const bool hasKey = std::any_of(ids.begin(), ids.end(), [&](const QString& id) { return m_keys.find(id); });
    if (!hasKey || !isDue(m_metadata.root()))
        return std::nullopt;
    return cDraft(cTrustMetadata::Root, root.version() + 1, m_metadata.root().content(),
                  Expiry::daysOf(root, cTrustMetadata::Root));
}

bool cSiteSigner::settleRoot()
{
    std::optional<cDraft> draft = rootToSign();
    if (!draft) {
        noteExpiry(m_metadata.root());
        return true;
    }
    QString told;
    if (!addSignatures(*draft))
        return false;
    noteChanges(*draft);
    if (!draft->isSignedFor(m_metadata.root().metadata(), &told) || !draft->isSignedFor(draft->metadata(), &told))
        return wait(*draft, told);
    m_chosen.insert(cTrustMetadata::Root, Chosen{*draft, draft->bytes(), true});
    return true;
}

bool cSiteSigner::settleOthers()
{
    if (m_isRefreshing) {
        return choosePublished(cTrustMetadata::Targets) && choosePublished(cTrustMetadata::Snapshot) &&
               settle(cTrustMetadata::Timestamp, metaContent(cTrustMetadata::Snapshot));
    }
    const QJsonObject targets = targetsContent();
    return m_code == ExitCode::Ok && settle(cTrustMetadata::Targets, targets) &&
           settle(cTrustMetadata::Snapshot, metaContent(cTrustMetadata::Targets)) &&
           settle(cTrustMetadata::Timestamp, metaContent(cTrustMetadata::Snapshot));
}

bool cSiteSigner::choosePublished(Type type)
{
    const cSiteMetadata::Document* const last = m_metadata.published(type);
    if (!last) {
        return fail(QStringLiteral("%1 has no signed state yet: norvale site sign makes the first one")
                        .arg(m_metadata.folder()));
    }
    m_chosen.insert(type, Chosen{last->draft, last->bytes, false});
    noteExpiry(last->draft);
    return true;
}

// What is published stays as long as it says the same, is signed by the keys of the newest root, and is not near its
// end.
bool cSiteSigner::settle(Type type, const QJsonObject& content)
{
    const cSiteMetadata::Document* const last = m_metadata.published(type);
    const bool isUsable = last && last->draft.isSignedFor(newestRoot());
    if (isUsable && isSame(last->draft.content(), content) && !isDue(last->draft) && !m_isRefreshing)
        return choosePublished(type);
    cDraft draft = draftFor(type, content);
    QString told;
    if (!addSignatures(draft))
        return false;
    noteChanges(draft);
    if (draft.isSignedFor(newestRoot(), &told)) {
        m_chosen.insert(type, Chosen{draft, draft.bytes(), true});
        return true;
    }
    return wait(draft, told) && isUsable && choosePublished(type);
}

cDraft cSiteSigner::draftFor(Type type, const QJsonObject& content) const
{
    const cDraft* const staged = m_metadata.staged(type);
    const qint64 version = m_metadata.nextVersion(type);
    if (staged && staged->metadata().version() == version && isSame(staged->content(), content) && !isDue(*staged))
        return *staged;
    return cDraft(type, version, content, Expiry::daysOf(newestRoot(), type));
}

// While a key is replaced the old ones sign as well, so that no client meets a document that its root does not know.
bool cSiteSigner::addSignatures(cDraft& draft)
{
    const Type type = draft.metadata().type();
    const cTrustMetadata& next = type == cTrustMetadata::Root ? draft.metadata() : newestRoot();
    QMap<QString, cTrustKey> keys = m_metadata.root().metadata().keys();
    for (auto it = next.keys().begin(); it != next.keys().end(); ++it)
        keys.insert(it.key(), it.value());
    draft.keepSignaturesOf(keys);
    if (m_only && *m_only != type)
        return true;
    QString error;
    return draft.sign(m_keys, keysOf(m_metadata.root().metadata(), type) + keysOf(next, type), &error) || fail(error);
}

QJsonObject cSiteSigner::targetsContent()
{
    const cSiteMetadata::Document* const last = m_metadata.published(cTrustMetadata::Targets);
    const bool isSigned = last && last->draft.isSignedFor(m_metadata.root().metadata());
    const QHash<QString, cTrustTarget> before =
        isSigned ? last->draft.metadata().targets() : QHash<QString, cTrustTarget>();
    cSiteTargets targets(m_site, before);
    if (!targets.collect()) {
        fail(targets.errorString());
        return QJsonObject();
    }
    m_copies = targets.copies();
    QJsonObject content = isSigned ? last->draft.content() : QJsonObject(); // with delegations that others have made
    content["targets"] = targets.json();
    return content;
}

QJsonObject cSiteSigner::metaContent(Type of) const
{
    const auto chosen = m_chosen.constFind(of);
    const QJsonObject meta{
        {"version", chosen->draft.metadata().version()},
        {"length", chosen->bytes.size()},
        {"hashes", QJsonObject{{"sha256", QString::fromLatin1(Cryptography::sha256(chosen->bytes).toHex())}}}};
    return {{"meta", QJsonObject{{cTrustMetadata::nameOf(of) + QStringLiteral(".json"), meta}}}};
}

bool cSiteSigner::wait(const cDraft& draft, const QString& told)
{
    const Type type = draft.metadata().type();
    const QString path = m_metadata.stagedPathOf(type);
    m_waiting.append(type);
    tell(draft, "staged");
    m_findings.add(Rule::SiteUnsigned, m_files.shown(path),
                   QStringLiteral("version %1 is %2").arg(draft.metadata().version()).arg(told));
    return m_files.write(path, draft.bytes()) || fail(m_files.errorString(), ExitCode::WriteFailed);
}

bool cSiteSigner::publish()
{
    QString reason;
    if (!isTakenByClients(&reason))
        return fail(QStringLiteral("what would be published is refused by clients: %1").arg(reason));
    for (const QString& copy : copiesOf(m_chosen.constFind(cTrustMetadata::Targets)->draft)) {
        const QString path = m_site + QLatin1Char('/') + copy;
        cSiteFiles::sweep(QFileInfo(path).path(), QStringLiteral("*.xml"));
        if (m_copies.contains(copy) && !QFileInfo::exists(path) && !m_files.write(path, m_copies.value(copy)))
            return fail(m_files.errorString(), ExitCode::WriteFailed);
    }
    // Where the old keys have signed, too, clients can go on with the old root until the new one is there.
    QList<Type> order{cTrustMetadata::Targets, cTrustMetadata::Snapshot, cTrustMetadata::Timestamp};
    order.insert(isOldRootContent() ? 3 : 2, cTrustMetadata::Root);
    return std::all_of(order.begin(), order.end(), [&](Type type) { return publishNew(type); });
}

bool cSiteSigner::publishNew(Type type)
{
    const auto chosen = m_chosen.constFind(type);
    if (chosen == m_chosen.constEnd())
        return true;
    tell(chosen->draft, chosen->isNew ? "signed" : "unchanged");
    const QString path = m_metadata.pathOf(type, chosen->draft.metadata().version());
    return !chosen->isNew || m_files.write(path, chosen->bytes) || fail(m_files.errorString(), ExitCode::WriteFailed);
}

bool cSiteSigner::isOldRootContent() const
{
    return std::all_of(m_chosen.begin(), m_chosen.end(),
                       [&](const Chosen& chosen) { return chosen.draft.isSignedFor(m_metadata.root().metadata()); });
}

// By the client's own rules, but for the time: what has expired is told, and does not keep the rest from being renewed.
bool cSiteSigner::isTakenByClients(QString* reason) const
{
    QDateTime now = QDateTime::currentDateTimeUtc();
    for (const Chosen& chosen : m_chosen)
        now = std::min(now, chosen.draft.metadata().expires().addSecs(-1));
    now = std::min(now, newestRoot().expires().addSecs(-1));
    cTrustedSet set(now);
    const auto next = m_chosen.constFind(cTrustMetadata::Root);
    const bool isTaken = set.begin(m_metadata.published(cTrustMetadata::Root)->bytes) &&
                         (next == m_chosen.constEnd() || set.updateRoot(next->bytes)) && set.finishRoots() &&
                         set.updateTimestamp(m_chosen.constFind(cTrustMetadata::Timestamp)->bytes) &&
                         set.updateSnapshot(m_chosen.constFind(cTrustMetadata::Snapshot)->bytes) &&
                         set.updateTargets(m_chosen.constFind(cTrustMetadata::Targets)->bytes);
    *reason = set.errorString();
    return isTaken;
}

bool cSiteSigner::isDue(const cDraft& draft) const
{
    const int days = Expiry::daysOf(m_metadata.root().metadata(), draft.metadata().type());
    return Expiry::renewalOf(draft.metadata(), days) <= QDateTime::currentDateTimeUtc();
}

void cSiteSigner::noteExpiry(const cDraft& draft)
{
    const cTrustMetadata& metadata = draft.metadata();
    if (!isDue(draft))
        return;
    m_findings.add(Rule::TrustExpiry, m_files.shown(m_metadata.pathOf(metadata.type(), metadata.version())),
                   QStringLiteral("it expires on %1: norvale site sign with the keys of %2 renews it")
                       .arg(metadata.expires().toString(Qt::ISODate), cTrustMetadata::nameOf(metadata.type())));
}

void cSiteSigner::noteChanges(const cDraft& draft)
{
    const cSiteMetadata::Document* const last = m_metadata.published(draft.metadata().type());
    m_changes += SigningChanges::between(last ? &last->draft.metadata() : nullptr, draft.metadata());
}

void cSiteSigner::tell(const cDraft& draft, const char* state)
{
    const cTrustMetadata& metadata = draft.metadata();
    m_json.append(QJsonObject{{"role", cTrustMetadata::nameOf(metadata.type())},
                              {"version", metadata.version()},
                              {"expires", metadata.expires().toString(Qt::ISODate)},
                              {"state", QLatin1String(state)},
                              {"signatures", metadata.signatures().size()}});
}

void cSiteSigner::tidy()
{
    if (m_isCopy)
        return;
    for (const Type type : cSiteMetadata::roles()) {
        if (m_metadata.staged(type) && !m_waiting.contains(type) && !m_isRefreshing)
            m_files.remove(m_metadata.stagedPathOf(type), m_metadata.folder());
    }
    removeOldCopies();
}

// A client in the middle of an update reads the descriptions of the state before.
void cSiteSigner::removeOldCopies() const
{
    const auto targets = m_chosen.constFind(cTrustMetadata::Targets);
    if (targets == m_chosen.constEnd() || !targets->isNew)
        return;
    QStringList kept = copiesOf(targets->draft);
    if (const cSiteMetadata::Document* const last = m_metadata.published(cTrustMetadata::Targets))
        kept += copiesOf(last->draft);
    QSet<QString> folders;
    for (const QString& copy : qAsConst(kept))
        folders.insert(QFileInfo(m_site + QLatin1Char('/') + copy).path());
    static const QRegularExpression form(QStringLiteral("\\A[0-9a-f]{64}\\.(site|repository)\\.xml\\z"));
    for (const QString& folder : qAsConst(folders)) {
        for (const QString& name : QDir(folder).entryList({QStringLiteral("*.*.xml")}, QDir::Files)) {
            const QString path = folder + QLatin1Char('/') + name;
            if (form.match(name).hasMatch() && !kept.contains(QDir(m_site).relativeFilePath(path)))
                m_files.remove(path, folder);
        }
    }
}

bool cSiteSigner::fail(const QString& reason, ExitCode code)
{
    m_errorString = reason;
    m_code = code;
    return false;
}
