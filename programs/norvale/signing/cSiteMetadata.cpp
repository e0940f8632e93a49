#include "signing/cSiteMetadata.h"

#include "lint/InputFile.h"
#include "report/cFindings.h"
#include "trust/cTrustClient.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

namespace {

bool readText(const QString& path, QByteArray* bytes, QString* error)
{
    cFindings findings;
    if (readInputFile(path, cTrustClient::TargetsLimit, bytes, findings))
        return true;
    *error = QStringLiteral("%1 cannot be read: %2").arg(path, findings.list().constFirst().text);
    return false;
}

} // namespace

const QList<cSiteMetadata::Type>& cSiteMetadata::roles()
{
    static const QList<Type> roles{cTrustMetadata::Root, cTrustMetadata::Targets, cTrustMetadata::Snapshot,
                                   cTrustMetadata::Timestamp};
    return roles;
}

QString cSiteMetadata::nameOf(Type type, qint64 version)
{
    const QString name = cTrustMetadata::nameOf(type) + QStringLiteral(".json");
    return type == cTrustMetadata::Timestamp ? name : QStringLiteral("%1.%2").arg(version).arg(name);
}

QString cSiteMetadata::stagedPathOf(Type type) const
{
    return QStringLiteral("%1/staged/%2.json").arg(m_folder, cTrustMetadata::nameOf(type));
}

bool cSiteMetadata::isThere(const QString& site)
{
    return !QDir(folderOf(site)).entryList({QStringLiteral("*.root.json")}, QDir::Files).isEmpty();
}

bool cSiteMetadata::read(const QString& site)
{
    m_folder = folderOf(QDir(site).absolutePath());
    for (const Type type : roles()) {
        const QString pattern = QStringLiteral("*.%1.json").arg(cTrustMetadata::nameOf(type));
        for (const QString& name : QDir(m_folder).entryList({pattern}, QDir::Files))
            m_highest[type] = std::max(m_highest.value(type), name.section(QLatin1Char('.'), 0, 0).toLongLong());
    }
    if (!readRoot())
        return false;
    if (QFileInfo::exists(pathOf(cTrustMetadata::Timestamp, 0)) && !readPublished(cTrustMetadata::Timestamp, 0))
        return false;
    return std::all_of(roles().begin(), roles().end(), [&](Type type) { return readStaged(type); });
}

// An attacker who can write into the folder must not get his own root extended: the new root has to follow the old one.
bool cSiteMetadata::readRoot()
{
    const qint64 version = m_highest.value(cTrustMetadata::Root);
    if (version == 0)
        return fail(QStringLiteral("%1 has no root: norvale site keys init makes one").arg(m_folder));
    if (!readPublished(cTrustMetadata::Root, version))
        return false;
    cTrustedSet set(QDateTime::currentDateTimeUtc());
    QByteArray before;
    const QString pathBefore = pathOf(cTrustMetadata::Root, version - 1);
    const bool hasBefore = QFileInfo::exists(pathBefore);
    if (hasBefore && !readText(pathBefore, &before, &m_errorString))
        return false;
    const QByteArray& bytes = published(cTrustMetadata::Root)->bytes;
    const bool isSound = hasBefore ? set.begin(before) && set.updateRoot(bytes) : set.begin(bytes);
    return isSound || fail(QStringLiteral("%1: %2").arg(pathOf(cTrustMetadata::Root, version), set.errorString()));
}

bool cSiteMetadata::readPublished(Type type, qint64 version)
{
    const QString path = pathOf(type, version);
    QByteArray bytes;
    if (!readText(path, &bytes, &m_errorString))
        return false;
    QString error;
    const std::optional<cDraft> draft = cDraft::read(type, bytes, &error);
    if (!draft)
        return fail(QStringLiteral("%1: %2").arg(path, error));
    m_published.insert(type, Document{*draft, bytes});
    if (type != cTrustMetadata::Timestamp && type != cTrustMetadata::Snapshot)
        return true;
    const Type next = type == cTrustMetadata::Timestamp ? cTrustMetadata::Snapshot : cTrustMetadata::Targets;
    const QString file = cTrustMetadata::nameOf(next) + QStringLiteral(".json");
    return readPublished(next, draft->metadata().meta().value(file).version);
}

bool cSiteMetadata::readStaged(Type type)
{
    const QString path = stagedPathOf(type);
    if (!QFileInfo::exists(path))
        return true;
    QByteArray bytes;
    QString error;
    if (!readText(path, &bytes, &m_errorString))
        return false;
    const std::optional<cDraft> draft = cDraft::read(type, bytes, &error);
    if (!draft)
        return fail(QStringLiteral("%1: %2").arg(path, error));
    m_staged.insert(type, *draft);
    return true;
}

const cSiteMetadata::Document* cSiteMetadata::published(Type type) const
{
    const auto found = m_published.find(type);
    return found == m_published.end() ? nullptr : &*found;
}

const cDraft* cSiteMetadata::staged(Type type) const
{
    const auto found = m_staged.find(type);
    return found == m_staged.end() ? nullptr : &*found;
}

// What a run that was cut off has left may have been fetched and kept by a server on the way.
qint64 cSiteMetadata::nextVersion(Type type) const
{
    const Document* const last = published(type);
    return std::max(m_highest.value(type), last ? last->draft.metadata().version() : 0) + 1;
}

bool cSiteMetadata::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
