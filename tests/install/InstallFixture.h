#pragma once

#include "Packages.h"

#include "config/cConfigurationMgr.h"
#include "install/cInstallMgr.h"
#include "plugins/cPluginMgr.h"

#include <Files.h>
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

    SettingsSandbox m_sandbox;
    QScopedPointer<cPluginMgr> m_plugins;
    QScopedPointer<cConfigurationMgr> m_configuration;
    QScopedPointer<cInstallMgr> m_manager;
    QString m_root;
};
