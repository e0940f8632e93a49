#pragma once

#include "plugins/cPluginSuite.h"

#include <QtCore/QStringList>
#include <QtCore/QVector>

class cServiceMgr;

/**
 * Loads and starts plugins with what they depend on, and stops what it has started.
 */
class cPluginRunner
{
public:
    using Plugin = cPluginSuite::Plugin;

    cPluginRunner(cPluginSuite& suite, cPluginReporter& reporter) : m_suite(suite), m_reporter(reporter) {}

    /// Who is told of the stop, and gives up the services of a failed start. Not owned; may be null.
    void setServiceMgr(cServiceMgr* services) { m_services = services; }

    /// What IPluginMgr::load() describes.
    bool load(const QString& name);

    /// What IPluginMgr::StopNormal() describes.
    void stopAll();

private:
    class cLoadPath;

    bool loadWithDependencies(const Plugin& wanted);
    bool descendTo(const QString& dependency, cLoadPath& path);
    bool loadAndStart(const Plugin& plugin);
    QStringList unregisteredServices(const cPluginInstance& plugin) const;
    void withdraw(const QStringList& services);
    void stop(cPluginInstance& plugin);

    cPluginSuite& m_suite;
    cPluginReporter& m_reporter;
    cServiceMgr* m_services = nullptr;
    QVector<Plugin> m_started; // in the order of the starts
    bool m_isStopping = false;
};
