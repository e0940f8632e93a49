#include <Norvale/cZipArchive.h>

#include <Norvale/cZipEntry.h>

#include "zip/cZipArchiveData.h"
#include "zip/cZipDirectory.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>

#include <algorithm>
#include <string_view>

namespace {

std::string_view bytes(QLatin1String name)
{
    return {name.data(), size_t(name.size())};
}

/// Sorted names, unlike hashed ones, are found no slower for having been chosen by somebody.
QVector<cZipArchiveData::Place> sortedPlaces(const QVector<QSharedPointer<cZipEntryBlock>>& blocks)
{
    using Place = cZipArchiveData::Place;
    QVector<Place> places;
    for (int block = 0; block < blocks.size(); ++block) {
        for (int i = 0; i < blocks.at(block)->count(); ++i)
            places.append({blocks.at(block)->name(i), block, i});
    }
    std::stable_sort(places.begin(), places.end(),
                     [](const Place& left, const Place& right) { return bytes(left.name) < bytes(right.name); });
    return places;
}

} // namespace

cZipArchive::cZipArchive() : m_data(new cZipArchiveData) {}

cZipArchive::cZipArchive(QIODevice* device) : cZipArchive()
{
    setArchive(device);
}

cZipArchive::cZipArchive(const QByteArray& bytes) : cZipArchive()
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(bytes);
    buffer->open(QIODevice::ReadOnly);
    *m_data = cZipArchiveData(std::move(buffer));
    parse();
}

cZipArchive::cZipArchive(const QString& path) : cZipArchive()
{
    auto file = std::make_unique<QFile>(path);
    file->open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    *m_data = cZipArchiveData(std::move(file));
    parse();
}

cZipArchive::~cZipArchive() = default;

bool cZipArchive::setArchive(QIODevice* device)
{
    *m_data = cZipArchiveData(device);
    return parse();
}

bool cZipArchive::setArchive(QByteArray& bytes)
{
    *m_data = cZipArchiveData(std::make_unique<QBuffer>(&bytes)); // left closed, on purpose
    return parse();
}

bool cZipArchive::parse()
{
    cZipDirectory directory;
    const bool isComplete = directory.read(m_data->reader);
    const auto block = QSharedPointer<cZipEntryBlock>::create(this, directory);
    if (block->count() > 0) {
        m_data->uncompressedSize += block->uncompressedSize();
        m_data->blocks.append(block);
        m_data->places.clear();
        m_data->entries.clear();
    }
    return isComplete && block->isComplete();
}

QList<QSharedPointer<cZipEntry>> cZipArchive::entries() const
{
    if (!m_data->entries.isEmpty())
        return m_data->entries;
    QList<QSharedPointer<cZipEntry>> list;
    for (const QSharedPointer<cZipEntryBlock>& block : qAsConst(m_data->blocks))
        cZipEntryBlock::list(block, list);
    // The first list is the caller's alone, so that a loop over it does not copy it; further calls share one.
    if (m_data->wasListed)
        m_data->entries = list;
    m_data->wasListed = true;
    return list;
}

QSharedPointer<cZipEntry> cZipArchive::entry(const QString& name) const
{
    QVector<cZipArchiveData::Place>& places = m_data->places;
    if (places.isEmpty())
        places = sortedPlaces(m_data->blocks);
    const auto at = std::lower_bound(
        places.cbegin(), places.cend(), name,
        [](const cZipArchiveData::Place& place, const QString& wanted) { return place.name.compare(wanted) < 0; });
    if (at == places.cend() || at->name != name)
        return QSharedPointer<cZipEntry>();
    return cZipEntryBlock::entry(m_data->blocks.at(at->block), at->index);
}

qint64 cZipArchive::uncompressedSize() const
{
    return m_data->uncompressedSize;
}

void cZipArchive::clear()
{
    *m_data = cZipArchiveData();
}
