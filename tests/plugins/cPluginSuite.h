#pragma once

#include "plugins/IInstalledPlugins.h"
#include "plugins/cPluginMgr.h"
#include "services/cServiceMgr.h"

#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

/// A small installation on disk, with the managers that run it. Each has a folder of its own, so that every library
/// loaded is a new one.
class cPluginSuite : public IInstalledPlugins
{
public:
    cPluginSuite();

    /// Installs a plugin of version 1.0.0. @p fixture names the library of tests/plugins/fixtures, empty for none;
    /// @p children is XML that the `plugin` element gets beside its library, @p attributes what it gets beside the API
    /// version.
    void add(const QString& name, const QString& fixture, const QString& children = QString(),
             const QString& attributes = QStringLiteral("autoload='true'"));

    /// The same with a manifest as it stands.
    void addManifest(const QString& name, const QByteArray& manifest);

    QString folderOf(const QString& name) const;

    bool publishInstalledPlugins() override;
    bool isFeatureInstalled(const QString& name) const override { return hasCore && name == QLatin1String("Core"); }

    /// Which plugins the fixtures that load others ask for.
    static void want(const QStringList& names);

    /// What the plugins have noted since the suite was made.
    static QStringList journal();

    /// Lines of the channel "PluginMgr" since the suite was made that contain @p text.
    int linesWith(const QString& text) const;

    static QString dependsOn(const QStringList& names);
    static QString provides(const QString& service);

    bool hasCore = true;
    bool isPublishable = true;
    int publications = 0;
    QStringList names;
    cServiceMgr services;
    cPluginMgr manager;

private:
    QTemporaryDir m_dir;
    int m_historyBegin;
};
