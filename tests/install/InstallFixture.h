#pragma once

#include "config/cConfigurationMgr.h"
#include "install/cInstallMgr.h"
#include "plugins/cPluginMgr.h"

#include <Files.h>
#include <MachineProgram.h>
#include <Norvale/Corvane.h>
#include <SettingsSandbox.h>

#include <QtTest/QtTest>

/// The managers that install, on a real disk, with packages that tests/support/packages.py makes.
class InstallFixture
{
protected:
    /// Begins with nothing installed; @p name is that of a folder.
    void begin(const QString& name)
    {
        m_root = m_sandbox.path() + '/' + name;
        m_sandbox.setInstallDir(m_root + "/core");
        m_sandbox.useDataBelow(m_root + "/data");
        for (const char* key : {"ConfigMgr/RepositoryName", "ConfigMgr/RepositoryVersion"})
            m_sandbox.removeMachineValue(key);
        QVERIFY(QDir().mkpath(m_root));
        QVERIFY(Corvane::initializeFolderOrFile());
        m_manager.reset();
        m_configuration.reset();
        m_plugins.reset(new cPluginMgr);
        m_configuration.reset(new cConfigurationMgr(*m_plugins));
        m_manager.reset(new cInstallMgr(*m_configuration, *m_plugins));
    }

    /// Puts packages and their description into @p folder.
    static bool makeRepository(const QString& folder, const QStringList& words)
    {
        return MachineProgram::execute("python3", QStringList{PACKAGES_PY, "repository", folder} + words) == 0;
    }

    SettingsSandbox m_sandbox;
    QScopedPointer<cPluginMgr> m_plugins;
    QScopedPointer<cConfigurationMgr> m_configuration;
    QScopedPointer<cInstallMgr> m_manager;
    QString m_root;
};
