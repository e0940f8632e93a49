#pragma once

#include "config/cFeatureInstance.h"
#include "config/cNamedIndex.h"

#include <QtCore/QList>

/// A `runtime` element of a repository description: a setup program that brings a newer runtime.
struct cRuntimeEntry
{
    cVersion version;
    /// File name of the setup program; also the name shown in progress.
    QString name;
    /// Expected SHA-1 as raw bytes.
    QByteArray hash;
    /// As written: relative to the repository's location.
    QString source;
};

/**
 * The features and runtimes of one catalogue document in document order, and what its root says. A value: copies share
 * the feature records.
 */
class cFeatureCatalogue
{
public:
    using Features = QVector<QSharedPointer<cFeatureInstance>>;

    const Features& features() const { return m_features.list(); }
    bool isEmpty() const { return m_features.list().isEmpty(); }
    void append(const QSharedPointer<cFeatureInstance>& feature) { m_features.append(feature); }

    /// The first feature with this name in list order; null when none. Names are case-sensitive.
    QSharedPointer<cFeatureInstance> find(const QString& name) const { return m_features.find(name); }
    /// The first feature with this name and all three version components equal; null when none.
    QSharedPointer<cFeatureInstance> find(const QString& name, const cVersion& version) const
    {
        return m_features.find(name, version);
    }

    const QList<cRuntimeEntry>& runtimes() const { return m_runtimes; }
    void setRuntimes(const QList<cRuntimeEntry>& runtimes) { m_runtimes = runtimes; }
    void append(const cRuntimeEntry& runtime) { m_runtimes.append(runtime); }

    const cVersion& version() const { return m_version; }
    void setVersion(const cVersion& version) { m_version = version; }

    /// The repository's name as the root gives it; features may name others.
    QString name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }

    /// The oldest installed version that the repository can be installed over; 0.0.0, which is never newer than what
    /// is installed, when the root names none.
    bool hasCoreVersion() const { return m_hasCoreVersion; }
    const cVersion& coreVersion() const { return m_coreVersion; }
    void setCoreVersion(const cVersion& version);
    void clearCoreVersion();

    /// Empties both lists; what the root said stays until a document is read.
    void clear();

private:
    cNamedIndex<cFeatureInstance> m_features;
    QList<cRuntimeEntry> m_runtimes;
    cVersion m_version;
    QString m_name;
    cVersion m_coreVersion;
    bool m_hasCoreVersion = false;
};

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

    /// Takes the first of the newest runtimes of @p repository, which lies at @p location, when it is newer than what
    /// is held.
    void takeNewest(const cFeatureCatalogue& repository, const cUpdateLocation& location);

signals:
    void progress(QString filename, qint64 bytesSoFar, qint64 bytesTotal);

public slots:
    /// Relays a downloader's progress under the runtime's name.
    void onProgress(qint64 bytesSoFar, qint64 bytesTotal);

private:
    cVersion m_version;
    QString m_name;
    QByteArray m_hash;
    QUrl m_source;
};
