#pragma once

#include "config/cFeatureCatalogue.h"
#include "plugins/IInstalledPlugins.h"

#include <Norvale/IConfigMgr.h>
#include <Norvale/cLog.h>

#include <QtCore/QObject>

class cPluginMgr;

/**
 * Keeps the installed and the available feature catalogue, publishes the installed plugins to the plugin manager and
 * adds up the progress of downloads. `IConfigMgr` is its exported face.
 *
 * One per process, made by `Corvane::initialize`: the constructor makes the object the instance, the destructor clears
 * it. Main thread only.
 */
class cConfigurationMgr : public QObject, public IInstalledPlugins
{
    Q_OBJECT

public:
    /// @p plugins receives what is published; it is not owned and must live as long as this object.
    explicit cConfigurationMgr(cPluginMgr& plugins);
    ~cConfigurationMgr() override;

    /// Null before the first one is made.
    static cConfigurationMgr* instance();

    const cFeatureCatalogue& installed() const { return m_installed; }
    const cFeatureCatalogue& available() const { return m_available; }

    /// Reads the features file into the installed catalogue, which is emptied first. False when the file is absent,
    /// unreadable or not well-formed; the reason is logged unless it is the same as the time before.
    [[nodiscard]] bool loadFeatures();

    /// Writes @p features as the features file. False when the file cannot be written.
    [[nodiscard]] bool saveFeatures(const QList<QSharedPointer<cFeatureInstance>>& features);

    bool publishInstalledPlugins() override;
    bool isFeatureInstalled(const QString& name) const override;

    /// What `IConfigMgr::installedFeatures` answers.
    QList<cFeatureInfo> installedFeatures() const;

    /// What `IConfigMgr::connectProgressSlot` does.
    void connectProgressSlot(QObject* receiver, const char* slot);

    /// While @p label is not empty and @p total at least 1, progress is told as one bar over several files, of which
    /// @p base bytes are done.
    void setOverallProgress(const QString& label, qint64 base, qint64 total);

signals:
    void progress(QString fname, qint64 bytesReceived, qint64 bytesTotal);

public slots:
    void onProgress(QString fname, qint64 bytesReceived, qint64 bytesTotal);

private:
    /// What is wrong with the features file; empty when it has been read.
    QString readFeatures(const QString& path);

    cPluginMgr& m_plugins;
    cLog m_log;
    cFeatureCatalogue m_installed;
    cFeatureCatalogue m_available;
    qint64 m_overallBase = 0;
    qint64 m_overallTotal = 0;
    QString m_overallLabel;
    QString m_reportedFault; // of the last load; empty when it succeeded
};
