#pragma once

#include "version/cPluginId.h"

#include <Norvale/IInstallMgr.h>
#include <Norvale/cLog.h>

#include <QtCore/QObject>
#include <QtCore/QString>

#include <functional>

class cConfigurationMgr;
class cFeatureCatalogue;
class cPackageSource;
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
    bool installPackage(const QString& path);
    bool installUnsigned(const QString& path);
    bool uninstallPlugins();
    cVerifyOutcome verify();
    cRepairOutcome repair();
    const cInstallOutcome& lastOutcome() const { return m_outcome; }

    /// Emits a signal of an installation. What a receiver throws is logged, and stops nothing.
    void tell(const std::function<void()>& emission);

signals:
    /// Name and version of the plugin concerned; both empty for the operations on a whole location.
    void installationStart(IInstallMgr::OPERATION operation, QString name, QString version);
    void installationProgress(int current, int total);
    void installationFinished();

private:
    void connectSlot(const char* signal, QObject* receiver, const char* slot);
    bool install(const cFeatureCatalogue& offered, const cPackageSource& source);
    bool refuse(const QString& path, const QString& fault);
    bool conclude(const cInstallOutcome& outcome);
    bool fail(const QString& path, const QString& reason);
    bool logAndFail(const QString& path, const QString& reason);
    bool logAndFail(const QString& text) const;

    cConfigurationMgr& m_configuration;
    cPluginMgr& m_plugins;
    cLog m_log;
    cInstallOutcome m_outcome; // of the last install
    bool m_isBusy = false;     // an install or uninstall is under way, perhaps further up this thread's stack
    bool m_isUnsigned = false; // what is installed need not be trusted
};

/**
 * Announces an operation for as long as it lives: its start when it is made, its finish when it goes, however the
 * operation ends.
 */
class cOperation
{
public:
    /// @p plugin is the null id for the operations on a whole location.
    cOperation(cInstallMgr& manager, IInstallMgr::OPERATION operation, const cPluginId& plugin = cPluginId());
    ~cOperation()
    {
        m_manager.tell([this] { emit m_manager.installationFinished(); });
    }

    cOperation(const cOperation&) = delete;
    cOperation& operator=(const cOperation&) = delete;

private:
    cInstallMgr& m_manager;
};
