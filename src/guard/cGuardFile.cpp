#include "guard/cGuardFile.h"

#include "disk/WholeFiles.h"

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
           slot.end <= cGuardSlot::Hung && slot.toldStep <= cGuardSlot::Running && isText(slot.boot) &&
           isText(slot.plugin) && isText(slot.report) && isText(slot.toldPlugin);
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

/// Whether something else than a file stands there, which may not even be opened without harm.
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
    if (isOther(path))
        return fail(QStringLiteral("it is no file"));
    const QIODevice::OpenMode mode = QIODevice::ReadWrite | QIODevice::Unbuffered;
    if (!m_file.open(mode) && !(QDir().mkpath(QFileInfo(path).absolutePath()) && m_file.open(mode)))
        return fail(causeOf(m_file));
    if (!lockSoon())
        return fail(QStringLiteral("another process has it"));
    if (!readOrRenew())
        return fail(causeOf(m_file));
    m_memory = m_file.map(0, Size);
    return m_memory ? reinterpret_cast<cGuardSlot*>(m_memory) : fail(causeOf(m_file));
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

// All bytes are written: in a file that has only got its size, a full disk would be found out by the first write to the
// memory, which ends the process.
bool cGuardFile::readOrRenew()
{
    cGuardSlot slot = {};
    if (readSlot(m_file, slot))
        return true;
    slot = {};
    std::copy(std::begin(cGuardSlot::Magic), std::end(cGuardSlot::Magic), slot.magic);
    return m_file.resize(0) && m_file.seek(0) && m_file.write(reinterpret_cast<const char*>(&slot), Size) == Size;
}

void cGuardFile::close()
{
    if (m_memory)
        m_file.unmap(m_memory);
    m_memory = nullptr;
    m_file.close();
}

cGuardSlot* cGuardFile::fail(const QString& cause)
{
    m_errorString = QStringLiteral("%1: %2").arg(m_file.fileName(), cause);
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

bool cGuardFile::isOfThisBoot(const cGuardSlot& slot)
{
    const QByteArray now = bootId();
    return now.isEmpty() || slot.boot[0] == '\0' || isSameBoot(slot.boot, now);
}

void cGuardFile::setBoot(cGuardSlot& slot)
{
    qstrncpy(slot.boot, bootId().constData(), sizeof slot.boot);
}
