#pragma once

#include "config/cFeatureCatalogue.h"
#include "plugins/cPluginSuite.h"

#include <Norvale/IConfigMgr.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cLog.h>

#include <QtCore/QObject>

class cPluginMgr;
class cUpdateApply;
class cUpdateCheck;

/**
 * Keeps the installed and the available feature catalogue, publishes the installed plugins to the plugin manager, runs
 * the update check and the fetching of updates, and adds up the progress of downloads. `IConfigMgr` is its exported
 * face.
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

    /// Reads the features file into the installed catalogue, which is emptied first. False when the file is absent or
    /// faulty; the reason is logged unless it is the same as the time before. A file that was read whole is kept as
    /// lastFeaturesFile(), unless it is known not to be what was written last, which is logged.
    [[nodiscard]] bool loadFeatures();

    /// What is wrong with the features file, as of the last load or save: "PATH: line L, column C: message", or "PATH:
    /// cannot be read: cause". Empty when it was whole, or absent: only then is the installed catalogue what is
    /// installed. Whoever would write, remove or run something because of it asks first, and refuses.
    QString catalogueFault() const { return m_catalogueFault; }

    /// Where the last features file that was whole is kept, beside the features file.
    static QString lastFeaturesFile();

    /// Replaces the installed catalogue in memory; the features file is not touched.
    void setInstalled(const cFeatureCatalogue& catalogue) { m_installed = catalogue; }

    /// Reads the repository description at @p path on the local disk into the available catalogue, which is emptied
    /// first. False when it cannot be read or is not well-formed; the reason is logged and the catalogue is empty.
    [[nodiscard]] bool readAvailable(const QString& path);

    /// Writes @p features as the features file: a fresh document, beside the old file, flushed and renamed over it. The
    /// root's version is the installed repository version. False when it cannot be written; the old file then stays.
    [[nodiscard]] bool saveFeatures(const QVector<QSharedPointer<cFeatureInstance>>& features);

    /// What saveFeatures() would write now.
    static QByteArray featuresText(const QVector<QSharedPointer<cFeatureInstance>>& features);

    bool publishInstalledPlugins() override;
    bool isFeatureInstalled(const QString& name) const override;
    bool isInDevelopment(const cPluginId& id) const override;
    QString publicationError() const override { return m_publicationError; }

    /// What `IConfigMgr::installedFeatures` answers.
    QList<cFeatureInfo> installedFeatures() const;

    /// What `IConfigMgr::connectProgressSlot` does.
    void connectProgressSlot(QObject* receiver, const char* slot);

    /// What `IConfigMgr::checkForUpdates` does.
    cJsonValue checkForUpdates();

    /// What `IConfigMgr::doUpdateOn` does.
    cJsonValue doUpdateOn(const QStringList& names);

    /// What `IConfigMgr::cancelUpdate` does.
    void cancelUpdate();

    /// While @p label is not empty and @p total at least 1, progress is told as one bar over several files, of which
    /// @p base bytes are done.
    void setOverallProgress(const QString& label, qint64 base, qint64 total);

signals:
    void progress(QString fname, qint64 bytesReceived, qint64 bytesTotal);

public slots:
    void onProgress(QString fname, qint64 bytesReceived, qint64 bytesTotal);

private:
    /// Whether @p xml, which was read whole, is what the suite has written, as far as the record of files knows.
    bool isTrusted(const QByteArray& xml);
    /// Makes @p xml, which was read whole or written, what lastFeaturesFile() holds.
    void keepAsLast(const QByteArray& xml);

    /// False, with the reason logged, while a check or an update waits further up this thread's stack.
    bool canBegin();
    cJsonValue makeCheck(cUpdateCheck& check, const QStringList& names);
    void discardWithdrawn();
    cJsonValue apply(const cUpdateCheck& check, const cJsonValue& result);

    cPluginMgr& m_plugins;
    cLog m_log;
    cFeatureCatalogue m_installed;
    cFeatureCatalogue m_available;
    qint64 m_overallBase = 0;
    qint64 m_overallTotal = 0;
    QString m_overallLabel;
    bool m_isUpdating = false;       // a check or an update is under way, perhaps further up this thread's stack
    bool m_isCancelled = false;      // since the last update began
    cUpdateApply* m_apply = nullptr; // the fetching under way; null between
    QString m_catalogueFault;
    QString m_loggedReason;     // of the last load; empty when it succeeded
    bool m_hasWarned = false;   // of a features file that is not as it was written
    QString m_loggedLast;       // why the last features file could not be kept; empty when it was
    QString m_publicationError; // of the last publication; empty when it names all that is installed
};
