#include "wire/cHostLock.h"

cHostLock::Outcome cHostLock::take(const QString& path)
{
    auto file = std::make_unique<QLockFile>(path);
    file->setStaleLockTime(0); // stale when its process is gone, never by its age
    if (file->tryLock(0)) {
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
                  ? QStringLiteral("the lock %1 is held by process %2 (%3)").arg(path).arg(pid).arg(program)
                  : QStringLiteral("the lock %1 is held").arg(path);
    return Held;
}
