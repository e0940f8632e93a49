#pragma once

#include <Norvale/cVersion.h>

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QUrl>

class cUpdateLocation;
class cXmlElement;
class cXmlTree;

/**
 * The newest runtime that the repositories read so far offer: version 0.0.0 and nothing else while none does.
 */
class cRuntimeInfo : public QObject
{
    Q_OBJECT

public:
    cRuntimeInfo() = default;

    const cVersion& version() const { return m_version; }
    /// The file name of the runtime package, and the name that progress is told under.
    QString name() const { return m_name; }
    /// SHA-1 as raw bytes; empty when none was given.
    QByteArray hash() const { return m_hash; }
    /// Absolute.
    QUrl source() const { return m_source; }

    /// Takes each `runtime` entry of a repository description that is newer than what is held; sources are resolved
    /// against @p location. False, and nothing taken, when the bytes are not well-formed; @p reason then says where and
    /// why, if it is not null.
    [[nodiscard]] bool readFrom(const QByteArray& xml, const cUpdateLocation& location, QString* reason = nullptr);

    /// The same for a parsed description. False only when the tree is empty.
    [[nodiscard]] bool readFrom(const cXmlTree& tree, const cUpdateLocation& location);

signals:
    void progress(QString filename, qint64 bytesSoFar, qint64 bytesTotal);

public slots:
    /// Relays a downloader's progress under the runtime's name.
    void onProgress(qint64 bytesSoFar, qint64 bytesTotal);

private:
    void readEntry(const cXmlElement& element, const cUpdateLocation& location);

    cVersion m_version;
    QString m_name;
    QByteArray m_hash;
    QUrl m_source;
};
