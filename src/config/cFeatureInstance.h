#pragma once

#include "config/cNamedIndex.h"
#include "config/cUpdateLocation.h"
#include "version/cPluginId.h"

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QPair>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVarLengthArray>
#include <QtCore/QVector>

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

/**
 * One plugin of a feature, as a catalogue describes it. Name and version never change after construction, so that
 * indexes over records stay right.
 */
class cFeaturePlugin : public QObject
{
    Q_OBJECT

public:
    explicit cFeaturePlugin(const cPluginId& id, quint32 size = 0) : m_id(id), m_size(size) {}

    const cPluginId& id() const { return m_id; }
    const QString& name() const { return m_id.name(); }
    const cVersion& version() const { return m_id.version(); }

    /// Package size in bytes; 0 when the catalogue does not say.
    quint32 size() const { return m_size; }

    /// Expected SHA-1 of the package as raw bytes; empty when the catalogue names none.
    QByteArray hash() const { return m_hash; }
    void setHash(const QByteArray& hash) { m_hash = hash; }

    using Sources = QVarLengthArray<cFeatureSource, 1>; // nearly all have one
    const Sources& sources() const { return m_sources; }
    void addSource(const cFeatureSource& source) { m_sources.append(source); }

    bool isPending() const { return m_isPending; }
    void setPending(bool isPending) { m_isPending = isPending; }

    /// True once the plugin was published from the development feature.
    bool isDevelopment() const { return m_isDevelopment; }
    void setDevelopment(bool isDevelopment) { m_isDevelopment = isDevelopment; }

    /// Result of the last download of the package; 0 before the first.
    qint64 downloadStatus() const { return m_downloadStatus; }
    void setDownloadStatus(qint64 status) { m_downloadStatus = status; }

    /// The package's bytes once downloaded and verified.
    QByteArray packageData() const { return m_packageData; }
    void setPackageData(const QByteArray& data) { m_packageData = data; }

signals:
    void progress(QString filenameBeingDownloaded, qint64 downloadedSize, qint64 totalSize);

public slots:
    /// Relays a downloader's progress under the package file name.
    void onProgress(qint64 downloadedSize, qint64 totalSize);

private:
    cPluginId m_id;
    quint32 m_size;
    bool m_isPending = false;
    bool m_isDevelopment = false;
    QByteArray m_hash;
    Sources m_sources;
    qint64 m_downloadStatus = 0;
    QByteArray m_packageData;
};

/**
 * A feature: a named, versioned set of plugins with display names, the features it depends on and the repository that
 * it came from. Name and version are its key and never change.
 */
class cFeatureInstance : public QObject
{
public:
    /// Element name (always "displayname") and language.
    using DisplayKey = QPair<QString, QString>;

    cFeatureInstance(const QString& name, const cVersion& version, bool isActive, const QString& repository);

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
    static bool isDevelopment(const QString& name) { return name == QLatin1String(DevelopmentName); }
    bool isDevelopment() const { return isDevelopment(m_name); }

    /// Names in document order; duplicates are kept.
    const QStringList& dependencies() const { return m_dependencies; }
    void addDependency(const QString& name) { m_dependencies.append(name); }
    void setDependencies(const QStringList& names) { m_dependencies = names; }

    const QMap<DisplayKey, QString>& displayNames() const { return m_displayNames; }
    /// A later text of the same language replaces the earlier one.
    void setDisplayName(const QString& language, const QString& text);

    /// In document order.
    const QVector<QSharedPointer<cFeaturePlugin>>& plugins() const { return m_plugins.list(); }
    void addPlugin(const QSharedPointer<cFeaturePlugin>& plugin) { m_plugins.append(plugin); }
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
    QMap<DisplayKey, QString> m_displayNames;
    QString m_repository;
    cNamedIndex<cFeaturePlugin> m_plugins;
};
