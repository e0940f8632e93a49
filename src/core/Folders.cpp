#include "core/Files.h"
#include "core/InstallRecord.h"
#include "core/Settings.h"
#include "version/cPluginId.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QStandardPaths>

namespace {

/// The framework root. Written by the main thread while the framework comes up, read from any thread afterwards.
QDir& root()
{
    static QDir dir;
    return dir;
}

QString join(const QString& parent, const char* name)
{
    return QDir(parent).absoluteFilePath(QLatin1String(name));
}

QString dataFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
}

} // namespace

bool Corvane::initializeFolderOrFile()
{
    // The constructor, unlike setPath(), takes an empty path for the current directory.
    root() = QDir(QDir::fromNativeSeparators(installRecord()));
    root().makeAbsolute();
    // QDir works out its absolute path when first asked; asking here leaves nothing to be written by later readers.
    const QString path = root().absolutePath();

    // In place of the folder before: what is looked up must not be found in another installation.
    const QString prefix = QStringLiteral("core");
    if (QDir::searchPaths(prefix) != QStringList(path))
        QDir::setSearchPaths(prefix, {path});
    return true;
}

QString Corvane::velmiraFolderOrFile(VelmFolderOrFile value)
{
    switch (value) {
    case CoreFolder:
    case CoreFolderAlias1:
    case CoreFolderAlias2:
        return root().absolutePath();
    case PluginsFolder:
        return join(velmiraFolderOrFile(CoreFolder), "plugins");
    case DropboxFolder:
        return join(velmiraFolderOrFile(DataFolder), "Dropbox");
    case BootstrapFolder:
        return join(velmiraFolderOrFile(CoreFolder), "Bootstrap");
    case RepositoryFolder:
        return join(velmiraFolderOrFile(CoreFolder), "Repository");
    case DataFolder:
    case DataFolderAlias:
        return dataFolder();
    case FeaturesFile:
        return join(velmiraFolderOrFile(PluginsFolder), "features.xml");
    case DropboxRepositoryFile:
        return join(velmiraFolderOrFile(DropboxFolder), "repository.xml");
    case BootstrapRepositoryFile:
        return join(velmiraFolderOrFile(BootstrapFolder), "repository.xml");
    case DevRepositoryFile:
        return join(velmiraFolderOrFile(RepositoryFolder), "VelmDev.xml");
    case SettingsFile:
        return join(velmiraFolderOrFile(DataFolder), "settings.json");
    case CoreExecutable:
        return join(velmiraFolderOrFile(CoreFolder), "VCore.exe");
    case RestartExecutable:
        return join(velmiraFolderOrFile(CoreFolder), "VRestart.exe");
    case InstallExecutable:
        return join(velmiraFolderOrFile(CoreFolder), "VInstall.exe");
    default:
        return QString();
    }
}

QDir Corvane::pluginDir(const QString& name, const QString& version)
{
    return pluginDir(cPluginId(name, cVersion(version)));
}

QDir Corvane::pluginDir(const cPluginId& id)
{
    const QDir plugins(velmiraFolderOrFile(PluginsFolder));
    return QDir(plugins.absoluteFilePath(id.toString()));
}

QString Corvane::currentVersion()
{
    return cMachineSettings()
        .value(QLatin1String(SettingsKey::RepositoryVersion), QStringLiteral("0.00.000"))
        .toString();
}
