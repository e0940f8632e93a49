#include "wire/cHostAddress.h"

#include "HostSystem.h"

#include <Norvale/Corvane.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QThread>

namespace {

// One installation reached by two spellings of its path must be one installation.
QString canonical(const QString& folder)
{
    const QString path = QDir(folder).canonicalPath();
    return path.isEmpty() ? QDir::cleanPath(QDir(folder).absolutePath()) : path;
}

QString shortHash(const QString& text)
{
    // 16 digits keep the path below the about 100 bytes that a socket's path may have.
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha1).toHex().left(16));
}

bool hasHolder(const QLockFile& file)
{
    qint64 pid = 0;
    QString host;
    QString program;
    return file.getLockInfo(&pid, &host, &program);
}

// The holder of a lock writes who it is as soon as it has made the file. A holder that was killed in between leaves an
// empty file, and only for that the age decides: it is waited until it is old enough to be nobody's.
bool tryLock(QLockFile& file)
{
    constexpr int Patience = 3000; // milliseconds
    constexpr int Step = 50;
    file.setStaleLockTime(0); // stale when its process is gone, never by its age
    for (int waited = 0; waited <= Patience; waited += Step) {
        if (file.tryLock(0))
            return true;
        if (file.error() != QLockFile::LockFailedError || hasHolder(file))
            return false;
        QThread::msleep(Step);
    }
    file.setStaleLockTime(Patience);
    return file.tryLock(0);
}

} // namespace

cHostAddress cHostAddress::ofInstallation(const QString& installFolder)
{
    cHostAddress address;
    address.m_installFolder = installFolder;
    const QString folder = HostSystem::userFolder(&address.m_error);
    if (!address.isValid())
        return address;
    const QString installation = HostSystem::comparable(canonical(installFolder));
    const QString name =
        QStringLiteral("vcore-") + shortHash(installation + QLatin1Char('\n') + HostSystem::userPart());
    address.m_socketName = HostSystem::socketName(folder, name);
    address.m_lockPath = QDir(folder).absoluteFilePath(name + QStringLiteral(".lock"));
    address.m_updateLockPath = QDir(folder).absoluteFilePath(name + QStringLiteral(".update.lock"));
    return address;
}

cHostAddress cHostAddress::ofThisInstallation()
{
    Corvane::initializeFolderOrFile();
    return ofInstallation(Corvane::velmiraFolderOrFile(Corvane::CoreFolder));
}

cHostLock::Outcome cHostLock::take(const QString& path)
{
    auto file = std::make_unique<QLockFile>(path);
    if (tryLock(*file)) {
        m_file = std::move(file);
        return Taken;
    }
    qint64 pid = 0;
    QString host;
    QString program;
    if (file->error() != QLockFile::LockFailedError) {
        m_error = QStringLiteral("cannot take the lock %1").arg(path);
        return Failed;
    }
    m_error = file->getLockInfo(&pid, &host, &program)
                  ? QStringLiteral("process %1 (%2) holds the lock %3").arg(pid).arg(program, path)
                  : QStringLiteral("another process holds the lock %1").arg(path);
    return Held;
}
