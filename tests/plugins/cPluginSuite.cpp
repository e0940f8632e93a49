#include "cPluginSuite.h"

#include "plugins/LibrarySuffix.h"

#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSettings>

cPluginSuite::cPluginSuite() : m_historyBegin(cLogCentral::history().size())
{
    QSettings settings(QSettings::SystemScope, QStringLiteral("Varkel"), QStringLiteral("Pelmora"));
    settings.setValue(QStringLiteral("InstallDir"), m_dir.path());
    settings.sync();
    Corvane::initializeFolderOrFile();
    manager.setInstalledPlugins(this);
    manager.setServiceMgr(&services);
    qApp->setProperty("journal", QStringList());
    qApp->setProperty("pluginMgr", QVariant::fromValue<QObject*>(&manager));
    qApp->setProperty("serviceMgr", QVariant::fromValue<QObject*>(&services));
}

void cPluginSuite::add(const QString& name, const QString& fixture, const QString& children, const QString& attributes)
{
    const QString manifest = QStringLiteral(
        "<m><plugin runtime_api_version='13' %1><start><library filename='%2' function='create'/></start>"
        "%3</plugin></m>");
    addManifest(name, manifest.arg(attributes, fixture, children).toUtf8());
    const QString library = fixture + QLatin1String(LibrarySuffix);
    QFile::copy(QStringLiteral(FIXTURE_DIR "/") + library, folderOf(name) + QLatin1Char('/') + library);
}

void cPluginSuite::addManifest(const QString& name, const QByteArray& manifest)
{
    names.append(name);
    QDir().mkpath(folderOf(name));
    QFile file(folderOf(name) + QStringLiteral("/Manifest.xml"));
    if (file.open(QIODevice::WriteOnly))
        file.write(manifest);
}

QString cPluginSuite::folderOf(const QString& name) const
{
    return QDir(m_dir.path()).absoluteFilePath(QStringLiteral("plugins/%1-1.00.000").arg(name));
}

bool cPluginSuite::publishInstalledPlugins()
{
    ++publications;
    manager.clearAllowed();
    for (const QString& name : qAsConst(names))
        manager.registerPlugin(name, cVersion(QStringLiteral("1.0.0")));
    return isPublishable;
}

void cPluginSuite::want(const QStringList& names)
{
    qApp->setProperty("wanted", names);
}

QStringList cPluginSuite::journal()
{
    return qApp->property("journal").toStringList();
}

int cPluginSuite::linesWith(const QString& text) const
{
    const QList<cLogEntry> history = cLogCentral::history();
    int count = 0;
    for (int i = m_historyBegin; i < history.size(); ++i)
        count += history.at(i).channel == QLatin1String("PluginMgr") && history.at(i).message.contains(text);
    return count;
}

QString cPluginSuite::dependsOn(const QStringList& names)
{
    return QStringLiteral("<dependencies><dependency>%1</dependency></dependencies>")
        .arg(names.join(QStringLiteral("</dependency><dependency>")));
}

QString cPluginSuite::provides(const QString& service)
{
    return QStringLiteral("<services><service>%1</service></services>").arg(service);
}
