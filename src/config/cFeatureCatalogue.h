#pragma once

#include "config/cNamedIndex.h"
#include "config/cUpdateLocation.h"
#include "version/FlatMap.h"
#include "version/cPluginId.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QStringView>
#include <QtCore/QVarLengthArray>
#include <QtCore/QVector>

#include <utility>

/// Where a plugin package can be fetched: the text of a `source` element and the location of the document that held it.
struct cFeatureSource
{
    /// Null for a document read from the local disk.
    QSharedPointer<cUpdateLocation> location;
    /// As written; a relative one is resolved against the location when the package is fetched.
    QString source;

    /// What to fetch from: an absolute source as it is, another one resolved. Empty when there is no location for it.
    QUrl url() const;
};

/// A patch that makes a plugin's package from the files of an older version of it: a `delta` element.
struct cFeatureDelta
{
    cVersion from;
    quint32 size = 0; // of the patch in bytes
    QByteArray hash;  // SHA-1 of the patch as raw bytes
    cFeatureSource source;
};

/**
 * One plugin of a feature, as a catalogue describes it. Name and version never change after construction, so that
 * indexes over records stay right.
 */
class cFeaturePlugin : public QObject
{
    Q_OBJECT

public:
    explicit cFeaturePlugin(cPluginId id, quint32 size = 0)
        : m_id(std::move(id)), m_size(size), m_nameHash(cSeededHash()(m_id.name()))
    {
    }

    const cPluginId& id() const { return m_id; }
    const QString& name() const { return m_id.name(); }
    /// A cSeededHash of the name: who goes through many records then need not look at all their names.
    size_t nameHash() const { return m_nameHash; }
    const cVersion& version() const { return m_id.version(); }

    /// Package size in bytes; 0 when the catalogue does not say.
    quint32 size() const { return m_size; }
    /// The most bytes that are accepted of the package: its size, but as many as 256 MiB of one that the catalogue
    /// calls smaller, or of no size.
    qint64 sizeLimit() const { return qMax<qint64>(m_size, 256 * 1024 * 1024); }

    /// Expected SHA-1 of the package as raw bytes; empty when the catalogue names none.
    QByteArray hash() const { return QByteArray(m_hash.constData(), m_hash.size()); }
    /// Why what the catalogue gives as the hash is none: then the package is refused. Empty when it is one, or when it
    /// gives none.
    const QString& hashFault() const { return m_hashFault; }
    void setHash(const char* hash, int size, const QString& fault = QString())
    {
        m_hash.resize(0);
        m_hash.append(hash, size);
        m_hashFault = fault;
    }
    void setHash(const QByteArray& hash) { setHash(hash.constData(), hash.size()); }

    using Sources = QVarLengthArray<cFeatureSource, 1>; // nearly all have one
    const Sources& sources() const { return m_sources; }
    void addSource(cFeatureSource source) { m_sources.append(std::move(source)); }

    /// What makes the package from older versions; each one that the catalogue gives whole, with a size and a hash.
    const QVector<cFeatureDelta>& deltas() const { return m_deltas; }
    void addDelta(const cFeatureDelta& delta) { m_deltas.append(delta); }

    bool isPending() const { return m_isPending; }
    void setPending(bool isPending) { m_isPending = isPending; }

    /// True once the plugin was published from the development feature.
    bool isDevelopment() const { return m_isDevelopment; }
    void setDevelopment(bool isDevelopment) { m_isDevelopment = isDevelopment; }

    /// Result of the last download of the package; 0 before the first.
    qint64 downloadStatus() const { return m_downloadStatus; }
    void setDownloadStatus(qint64 status) { m_downloadStatus = status; }

signals:
    void progress(QString filenameBeingDownloaded, qint64 downloadedSize, qint64 totalSize);

public slots:
    /// Relays a downloader's progress under the package file name.
    void onProgress(qint64 downloadedSize, qint64 totalSize);

private:
    cPluginId m_id;
    quint32 m_size;
    size_t m_nameHash;
    bool m_isPending = false;
    bool m_isDevelopment = false;
    QVarLengthArray<char, 20> m_hash; // nearly all have one, of this length
    QString m_hashFault;
    Sources m_sources;
    QVector<cFeatureDelta> m_deltas;
    qint64 m_downloadStatus = 0;
};

/**
 * A feature: a named, versioned set of plugins with display names, the features it depends on and the repository that
 * it came from. Name and version are its key and never change.
 */
class cFeatureInstance : public QObject
{
public:
    struct DisplayName
    {
        QString language;
        QString text;
    };

    /// What a version brings, for people, in one language.
    struct Note
    {
        cVersion version;
        QString language;
        QString text;
    };

    cFeatureInstance(QString name, const cVersion& version, bool isActive, QString repository);

    /// The same feature in @p version, without its plugins.
    QSharedPointer<cFeatureInstance> copy(const cVersion& version) const;

    const QString& name() const { return m_name; }
    const cVersion& version() const { return m_version; }
    bool isActive() const { return m_isActive; }
    void setActive(bool isActive) { m_isActive = isActive; }
    const QString& repository() const { return m_repository; }
    void setRepository(const QString& repository) { m_repository = repository; }

    /// The feature of what is being developed: its plugins count as they lie on the disk, before all others of their
    /// names, and no repository changes them.
    static constexpr char DevelopmentName[] = "VelmDev";
    static bool isDevelopment(QStringView name) { return name == QLatin1String(DevelopmentName); }
    bool isDevelopment() const { return isDevelopment(m_name); }

    /// Names in document order; duplicates are kept.
    const QStringList& dependencies() const { return m_dependencies; }
    void addDependency(const QString& name) { m_dependencies.append(name); }
    void setDependencies(const QStringList& names) { m_dependencies = names; }

    /// By their languages, in ascending order.
    const QVector<DisplayName>& displayNames() const { return m_displayNames; }
    /// A later text of the same language replaces the earlier one.
    void setDisplayName(const QString& language, const QString& text);

    /// The release notes of this version and of earlier ones, in document order. A later one of the same version and
    /// language counts.
    const QVector<Note>& notes() const { return m_notes; }
    void addNote(const Note& note) { m_notes.append(note); }
    void setNotes(const QVector<Note>& notes) { m_notes = notes; }

    /// In document order.
    const QVector<QSharedPointer<cFeaturePlugin>>& plugins() const { return m_plugins.list(); }
    void addPlugin(QSharedPointer<cFeaturePlugin> plugin) { m_plugins.append(std::move(plugin)); }
    /// The first plugin with this name; null when none.
    QSharedPointer<cFeaturePlugin> findPlugin(const QString& name) const { return m_plugins.find(name); }
    /// The first plugin with this name and version; null when none.
    QSharedPointer<cFeaturePlugin> findPlugin(const cPluginId& id) const
    {
        return m_plugins.find(id.name(), id.version());
    }

private:
    QString m_name;
    cVersion m_version;
    bool m_isActive;
    QStringList m_dependencies;
    QVector<DisplayName> m_displayNames;
    QString m_repository;
    cNamedIndex<cFeaturePlugin> m_plugins;
    QVector<Note> m_notes;
};

Q_DECLARE_TYPEINFO(cFeatureInstance::DisplayName, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(cFeatureInstance::Note, Q_MOVABLE_TYPE);

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
    /// As cFeaturePlugin::hashFault().
    QString hashFault = QString();
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
    void append(QSharedPointer<cFeatureInstance> feature) { m_features.append(std::move(feature)); }

    /// The first feature with this name in list order; null when none. Names are case-sensitive.
    QSharedPointer<cFeatureInstance> find(const QString& name) const { return m_features.find(name); }
    /// Its place in the list; -1 when there is none.
    int placeOf(QStringView name) const { return m_features.placeOf(name); }
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
    /// As cFeaturePlugin::hashFault().
    const QString& hashFault() const { return m_hashFault; }
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
    QString m_hashFault;
    QUrl m_source;
};
