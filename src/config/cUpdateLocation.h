#pragma once

#include <QtCore/QObject>
#include <QtCore/QUrl>

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

private:
    QUrl m_url;
    int m_priority = 0;
};
