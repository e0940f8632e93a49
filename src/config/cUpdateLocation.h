#pragma once

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QUrl>

class QByteArray;
class QVariant;

/**
 * The base URL of an update site, or of one repository on it. Held by shared pointers: a location outlives the list it
 * was loaded into for as long as a feature source refers to it.
 */
class cUpdateLocation : public QObject
{
    Q_OBJECT

public:
    explicit cUpdateLocation(const QUrl& url = QUrl());

    QUrl url() const { return m_url; }

    /// Read and kept; nothing orders by it.
    int priority() const { return m_priority; }

    /// Takes "url" and "priority" from a settings entry; what the map lacks becomes an empty URL and 0.
    void readFrom(const QVariant& map);

    /// The location's URL with @p relativePath appended to its path and the path cleaned: "." and ".." are folded,
    /// doubled slashes removed. Query and host are kept.
    QUrl resolve(const QString& relativePath) const;

    /// The locations in the host's settings, in the order of their keys, whatever the priorities are.
    static QList<QSharedPointer<cUpdateLocation>> readAll();

    /// Replaces the locations in the host's settings by @p urls. @return false when they cannot be written; @p error
    /// then says why.
    [[nodiscard]] static bool writeAll(const QList<QUrl>& urls, QString* error);

private:
    QUrl m_url;
    int m_priority = 0;
};

/**
 * One `repository` element of a site description; an absent attribute is the empty text.
 */
struct cSiteEntry
{
    QString config;
    QString status;
    QString platform;
    QString update;  ///< The repository's name.
    QString content; ///< The repository's path, relative to the location of the site.

    /// Whether this installation takes its repository @p name of @p requiredStatus from here. All texts are compared
    /// exactly; the configuration is always "release" and the platform "x64".
    bool fits(const QString& name, const QString& requiredStatus) const;
};

/**
 * Reads the description of an update site (`site.xml`).
 */
class cSiteReader
{
public:
    /// Replaces the entries. False, and no entries, when the bytes are not well-formed or nested too deeply;
    /// errorString() then says where and why. The root's tag is not checked, other children are skipped.
    [[nodiscard]] bool read(const QByteArray& xml);

    /// In document order.
    const QList<cSiteEntry>& entries() const { return m_entries; }

    /// "line L, column C: message" of the last failure.
    QString errorString() const { return m_errorString; }

    /// As cCatalogueReader::foreignRoot(): by what the last document, which was read, is known as no description of a
    /// site.
    QString foreignRoot() const { return m_foreignRoot; }

private:
    QList<cSiteEntry> m_entries;
    QString m_foreignRoot;
    QString m_errorString;
};
