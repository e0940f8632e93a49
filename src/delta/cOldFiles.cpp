#include "delta/cOldFiles.h"

#include "version/Shown.h"
#include "version/cPluginId.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QIODevice>

#include <algorithm>
#include <utility>

cOldFiles::cOldFiles(cRebuild::Open open, const std::atomic<bool>& isCancelled)
    : m_open(std::move(open)), m_isCancelled(isCancelled), m_blocks(new char[BlockSize * BlockCount])
{
    m_heldBlocks.fill(-1);
}

cOldFiles::~cOldFiles() = default;

bool cOldFiles::isInside(const QString& path)
{
    const QStringList names = path.split(QLatin1Char('/'));
    return std::all_of(names.begin(), names.end(), isSafeFileName);
}

bool cOldFiles::add(const QString& path, qint64 size, const QByteArray& sha1)
{
    const std::unique_ptr<QIODevice> device = m_open(path);
    if (!device)
        return refuse(path, QStringLiteral("it is missing, or no file"));
    if (device->size() != size)
        return refuse(path, QStringLiteral("it has %1 instead of %2").arg(counted(device->size(), "byte")).arg(size));
    QCryptographicHash hash(QCryptographicHash::Sha1);
    QByteArray bytes(int(qBound(qint64(1), size, qint64(256 << 10))), Qt::Uninitialized);
    for (qint64 left = size; left > 0 && !m_isCancelled;) {
        bytes.resize(int(qMin<qint64>(left, bytes.size())));
        const qint64 came = device->read(bytes.data(), bytes.size());
        if (came <= 0)
            return refuse(path, QStringLiteral("it cannot be read, %1").arg(device->errorString()));
        bytes.resize(int(came));
        hash.addData(bytes);
        left -= came;
    }
    if (m_isCancelled)
        return false;
    if (hash.result() != sha1)
        return refuse(path, QStringLiteral("its content is another"));
    m_files.push_back({path, m_size});
    m_size += size;
    return true;
}

bool cOldFiles::addTo(char* to, qint64 place, qint64 count)
{
    while (count > 0) {
        const char* const block = blockAt(place / BlockSize);
        if (!block)
            return false;
        const qint64 begin = place % BlockSize;
        const qint64 size = qMin(BlockSize - begin, count);
        for (qint64 i = 0; i < size; ++i)
            to[i] = char(uchar(to[i]) + uchar(block[begin + i]));
        to += size;
        place += size;
        count -= size;
    }
    return true;
}

const char* cOldFiles::blockAt(qint64 block)
{
    const qint64 slot = block % BlockCount;
    char* const bytes = m_blocks.get() + slot * BlockSize;
    qint64& held = m_heldBlocks[size_t(slot)];
    if (held == block)
        return bytes;
    held = -1;
    const qint64 place = block * BlockSize;
    if (!readRange(place, bytes, qMin(BlockSize, m_size - place)))
        return nullptr;
    held = block;
    return bytes;
}

bool cOldFiles::readRange(qint64 place, char* to, qint64 count)
{
    const auto behind = [](qint64 at, const File& file) { return at < file.start; };
    auto file = std::upper_bound(m_files.begin(), m_files.end(), place, behind) - 1;
    while (count > 0) {
        const qint64 end = file + 1 == m_files.end() ? m_size : (file + 1)->start;
        const qint64 size = qMin(end - place, count);
        if (size > 0) {
            QIODevice* const device = deviceOf(size_t(file - m_files.begin()));
            if (!device || !device->seek(place - file->start) || device->read(to, size) != size)
                return refuse(file->path, QStringLiteral("it changes meanwhile"));
        }
        to += size;
        place += size;
        count -= size;
        ++file;
    }
    return true;
}

QIODevice* cOldFiles::deviceOf(size_t number)
{
    OpenFile& held = m_openFiles[number % m_openFiles.size()];
    if (!held.device || held.number != number) {
        held.device = m_open(m_files[number].path);
        held.number = number;
    }
    return held.device.get();
}

bool cOldFiles::refuse(const QString& path, const QString& why)
{
    m_errorString = QStringLiteral("\"%1\" is not the file that the patch was made for: %2").arg(path, why);
    return false;
}
