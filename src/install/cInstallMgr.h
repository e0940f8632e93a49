#pragma once

#include <Norvale/IInstallMgr.h>
#include <Norvale/cLog.h>

#include <QtCore/QObject>
#include <QtCore/QString>

class cConfigurationMgr;
class cFeatureCatalogue;
class cPluginMgr;

/**
 * Installs and removes plugin packages and reports the progress. `IInstallMgr` is its exported face and says what its
 * functions do.
 *
 * One per process, made by `Corvane::initialize`: the constructor makes the object the instance, the destructor clears
 * it. Main thread only.
 */
class cInstallMgr : public QObject
{
    Q_OBJECT

public:
    /// Both managers must live as long as this object; they are not owned.
    cInstallMgr(cConfigurationMgr& configuration, cPluginMgr& plugins);
    ~cInstallMgr() override;

    /// Null before the first one is made.
    static cInstallMgr* instance();

    void connectSlots(QObject* receiver, const char* startSlot, const char* progressSlot, const char* finishedSlot);
    bool installDropbox();
    bool installFromLocation(const QString& path, bool consume);
    bool installBootstrap();
    bool uninstallPlugins();

signals:
    /// Name and version of the plugin concerned; both empty for the operations on a whole location.
    void installationStart(IInstallMgr::OPERATION operation, QString name, QString version);
    void installationProgress(int current, int total);
    void installationFinished();

private:
    void connectSlot(const char* signal, QObject* receiver, const char* slot);
    bool install(const cFeatureCatalogue& offered, const QString& path, bool consume);
    bool refuse(const QString& path, const QString& reason);

    cConfigurationMgr& m_configuration;
    cPluginMgr& m_plugins;
    cLog m_log;
    bool m_isBusy = false;
};
