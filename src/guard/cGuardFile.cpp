#include "guard/cGuardFile.h"

#include "disk/WholeFiles.h"
#include "guard/CrashSystem.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QThread>

#include <algorithm>
#include <cstring>

namespace {

constexpr int Size = sizeof(cGuardSlot);

/// Who only looks has the lock for a moment.
constexpr int LockTries = 3;
constexpr unsigned long LockPause = 10; // ms

template <std::size_t Length>
bool isText(const char (&bytes)[Length])
{
    return std::find(std::begin(bytes), std::end(bytes), '\0') != std::end(bytes);
}

bool isSound(const cGuardSlot& slot)
{
    return std::memcmp(slot.magic, cGuardSlot::Magic, sizeof slot.magic) == 0 && slot.step <= cGuardSlot::Running &&
           slot.end <= cGuardSlot::Hung && slot.toldStep <= cGuardSlot::Running && isText(slot.plugin) &&
           isText(slot.report) && isText(slot.toldPlugin);
}

/// @return whether the file, which has just been opened, holds a slot and nothing else; it is then in @p slot.
bool readSlot(QFile& file, cGuardSlot& slot)
{
    char bytes[Size + 1];
    if (file.read(bytes, sizeof bytes) != Size)
        return false;
    std::memcpy(&slot, bytes, sizeof slot);
    return isSound(slot);
}

/// The FNV-1a hash, which is the same in every run.
quint32 hashOf(const QByteArray& bytes)
{
    quint32 hash = 2166136261U;
    for (const char byte : bytes)
        hash = (hash ^ uchar(byte)) * 16777619U;
    return hash;
}

/// When the machine was started, ms since 1970 UTC.
qint64 bootTime()
{
    return CrashSystem::now() - CrashSystem::uptime();
}

/// Whether something else than a file stands there. To open it for reading may wait for ever.
bool isOther(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() && !info.isFile();
}

} // namespace

QString cGuardFile::pathFor(const QString& dataFolder, const QString& coreFolder)
{
    return QStringLiteral("%1/guard.%2").arg(dataFolder, QString::number(hashOf(coreFolder.toUtf8()), 16));
}

cGuardSlot* cGuardFile::open(const QString& path)
{
    close();
    m_file.setFileName(path);
    const QIODevice::OpenMode mode = QIODevice::ReadWrite | QIODevice::Unbuffered;
    if (!m_file.open(mode) && !(QDir().mkpath(QFileInfo(path).absolutePath()) && m_file.open(mode)))
        return fail(causeOf(m_file));
    if (!lockSoon())
        return fail(QStringLiteral("another process has it"));
    // A slot that only cannot be mapped right now keeps what it tells.
    if (!mapSound() && !(m_file.error() == QFileDevice::NoError && renew() && mapSound()))
        return fail(causeOf(m_file));
    return slot();
}

bool cGuardFile::lockSoon()
{
    for (int tries = 1; !tryLock(m_file); ++tries) {
        if (tries == LockTries)
            return false;
        QThread::msleep(LockPause);
    }
    return true;
}

/// @return whether the file holds a slot and nothing else, which is looked at where it stays: every start waits for it.
bool cGuardFile::mapSound()
{
    m_memory = m_file.size() == Size ? m_file.map(0, Size) : nullptr;
    if (m_memory && isSound(*slot()))
        return true;
    unmap();
    return false;
}

// All bytes are written: in a file that has only got its size, a full disk would be found out by the first write to the
// memory, which ends the process.
bool cGuardFile::renew()
{
    cGuardSlot slot = {};
    std::copy(std::begin(cGuardSlot::Magic), std::end(cGuardSlot::Magic), slot.magic);
    return m_file.resize(0) && m_file.seek(0) && m_file.write(reinterpret_cast<const char*>(&slot), Size) == Size;
}

cGuardSlot* cGuardFile::slot() const
{
    return reinterpret_cast<cGuardSlot*>(m_memory);
}

void cGuardFile::unmap()
{
    if (m_memory)
        m_file.unmap(m_memory);
    m_memory = nullptr;
}

void cGuardFile::close()
{
    unmap();
    m_file.close();
}

cGuardSlot* cGuardFile::fail(const QString& cause)
{
    const QString what = isOther(m_file.fileName()) ? QStringLiteral("it is no file") : cause;
    m_errorString = QStringLiteral("%1: %2").arg(m_file.fileName(), what);
    close();
    return nullptr;
}

std::optional<cGuardSlot> cGuardFile::peek(const QString& path)
{
    QFile file(path);
    cGuardSlot slot;
    if (isOther(path) || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || !tryLock(file) ||
        !readSlot(file, slot))
        return std::nullopt;
    return slot;
}

// A clock is set meanwhile, by seconds as a rule; and no machine is started twice in a minute.
bool cGuardFile::isOfThisBoot(const cGuardSlot& slot)
{
    constexpr qint64 Tolerance = 60000; // ms
    return qAbs(slot.boot - bootTime()) < Tolerance;
}

void cGuardFile::setBoot(cGuardSlot& slot)
{
    slot.boot = bootTime();
}
