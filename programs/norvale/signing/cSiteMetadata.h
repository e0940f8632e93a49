#pragma once

#include "signing/cDraft.h"

#include <QtCore/QList>

/**
 * The folder "tuf" of a site as it stands: what is published, and what waits in "staged" for signatures. It may be a
 * copy on another machine, without the site's files.
 */
class cSiteMetadata
{
public:
    using Type = cTrustMetadata::Type;

    /// A document that is published, with its bytes as they are.
    struct Document
    {
        cDraft draft;
        QByteArray bytes;
    };

    /// The roles in the order in which one vouches for the next, from the last.
    static const QList<Type>& roles();

    static QString folderOf(const QString& site) { return site + QStringLiteral("/tuf"); }
    /// Whether the site @p site has a root, so that it is to be signed.
    static bool isThere(const QString& site);
    /// The name of a published document: "3.root.json", "timestamp.json".
    static QString nameOf(Type type, qint64 version);

    /// Reads the folder of the site @p site. @return false when there is no root, when that is not signed as a root has
    /// to be, or a document cannot be read; errorString() names it.
    [[nodiscard]] bool read(const QString& site);

    const QString& folder() const { return m_folder; }
    /// The newest root.
    const cDraft& root() const { return m_published.find(cTrustMetadata::Root)->draft; }
    /// What the newest timestamp leads to, and this itself; null when there is none.
    const Document* published(Type type) const;
    /// Null when none waits.
    const cDraft* staged(Type type) const;
    /// The version for the next document of @p type.
    qint64 nextVersion(Type type) const;

    QString pathOf(Type type, qint64 version) const { return m_folder + QLatin1Char('/') + nameOf(type, version); }
    QString stagedPathOf(Type type) const;

    QString errorString() const { return m_errorString; }

private:
    bool readRoot();
    bool readPublished(Type type, qint64 version);
    bool readStaged(Type type);
    bool fail(const QString& reason);

    QString m_folder;
    QMap<Type, Document> m_published;
    QMap<Type, cDraft> m_staged;
    QMap<Type, qint64> m_highest; // in names of files, also of those that nothing names
    QString m_errorString;
};
