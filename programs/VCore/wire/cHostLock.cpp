#include "wire/cHostLock.h"

namespace {

// Its holder writes who it is as soon as it has made the file. Killed in between, it leaves one that nobody can be
// asked about, and only then age decides.
bool tryLock(QLockFile& file)
{
    constexpr int Patience = 5000; // milliseconds
    qint64 pid = 0;
    QString host;
    QString program;
    file.setStaleLockTime(0); // stale when its process is gone, never by its age
    if (file.tryLock(0))
        return true;
    if (file.error() != QLockFile::LockFailedError || file.getLockInfo(&pid, &host, &program))
        return false;
    file.setStaleLockTime(Patience);
    return file.tryLock(0);
}

} // namespace

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
                  ? QStringLiteral("the lock %1 is held by process %2 (%3)").arg(path).arg(pid).arg(program)
                  : QStringLiteral("the lock %1 is held").arg(path);
    return Held;
}
