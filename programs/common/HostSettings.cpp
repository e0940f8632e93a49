#include "common/HostSettings.h"

#include "core/InstallRecord.h"
#include "disk/WriteSettings.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>
#include <QtCore/QSettings>

bool HostSettings::changeList(const QString& key, const QString& lockFile,
                              const std::function<void(QStringList&)>& change, QString* error)
{
    constexpr int Patience = 10000; // milliseconds
    QLockFile lock(lockFile);
    if (!lock.tryLock(Patience)) {
        *error = QStringLiteral("the settings are not changed: the lock %1 cannot be had").arg(lockFile);
        return false;
    }
    QSettings store;
    const QStringList before = store.value(key).toStringList();
    QStringList after = before;
    change(after);
    if (after == before)
        return true;
    return writeSettings(store, {{key, after.isEmpty() ? QVariant() : QVariant(after)}}, error);
}

QString MachineSettings::installDir()
{
    return installRecord();
}

QString MachineSettings::installDirPlace()
{
    return installRecordPlace();
}

QString MachineSettings::installDirFault(const QString& folder)
{
    const QFileInfo info(folder);
    if (!info.exists())
        return QStringLiteral("%1 does not exist").arg(folder);
    if (!info.isDir())
        return QStringLiteral("%1 is no folder").arg(folder);
    const QDir dir(folder);
    if (QFileInfo(dir.filePath(QStringLiteral("plugins"))).isDir() ||
        dir.exists(QStringLiteral("Bootstrap/repository.xml")))
        return QString();
    if (dir.exists(QStringLiteral("features.xml"))) {
        return QStringLiteral("%1 is the folder of the plugins; the installation folder is the one around it, %2")
            .arg(folder, info.dir().absolutePath());
    }
    return QStringLiteral("%1 is no installation folder: neither the folder \"plugins\" is in it, nor \"Bootstrap\" "
                          "with something to install")
        .arg(folder);
}

bool MachineSettings::setInstallDir(const QString& folder, QString* error)
{
    return writeInstallRecord(folder, error);
}
