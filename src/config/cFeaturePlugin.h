#pragma once

#include "config/cFeatureSource.h"

#include <Norvale/cVersion.h>

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVector>

/**
 * One plugin of a feature, as a catalogue describes it. Name and version never change after construction, so that
 * indexes over records stay right.
 */
class cFeaturePlugin : public QObject
{
    Q_OBJECT

public:
    cFeaturePlugin(const QString& name, const cVersion& version, quint32 size = 0);

    QString name() const { return m_name; }
    const cVersion& version() const { return m_version; }

    /// "%1-%2" of name and printed version: the plugin's folder, and its entry in progress.
    QString identity() const;
    /// The identity with ".zip": the file name of the plugin's package.
    QString packageFileName() const;

    /// Package size in bytes; 0 when the catalogue does not say.
    quint32 size() const { return m_size; }

    /// Expected SHA-1 of the package as raw bytes; empty when the catalogue names none.
    QByteArray hash() const { return m_hash; }
    void setHash(const QByteArray& hash) { m_hash = hash; }

    const QVector<cFeatureSource>& sources() const { return m_sources; }
    void addSource(const cFeatureSource& source) { m_sources.append(source); }

    bool isPending() const { return m_isPending; }
    void setPending(bool isPending) { m_isPending = isPending; }

    /// True once the plugin was published from the feature "VelmDev".
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
    QString m_name;
    cVersion m_version;
    quint32 m_size;
    QByteArray m_hash;
    bool m_isPending = false;
    bool m_isDevelopment = false;
    QVector<cFeatureSource> m_sources;
    qint64 m_downloadStatus = 0;
    QByteArray m_packageData;
};
