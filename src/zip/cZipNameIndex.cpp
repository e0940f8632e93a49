#include "zip/cZipNameIndex.h"

#include "zip/ZipRecords.h"
#include "zip/cZipEntryBlock.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <algorithm>
#include <cstring>

using namespace ZipRecords;

namespace {

constexpr int FewLookUps = 8;

/// The order of two names of bytes, as memcmp tells it.
int compare(const uchar* record, const char* name, int length)
{
    const int recordLength = field16(record, CentralNameLength);
    const int order = std::memcmp(record + CentralSize, name, size_t(qMin(recordLength, length)));
    return order != 0 ? order : recordLength - length;
}

int compare(const uchar* left, const uchar* right)
{
    return compare(left, reinterpret_cast<const char*>(right) + CentralSize, field16(right, CentralNameLength));
}

bool isNamed(const uchar* record, const QByteArray& name)
{
    return field16(record, CentralNameLength) == name.size() && compare(record, name.constData(), name.size()) == 0;
}

bool isLatin1(const QString& name)
{
    return std::all_of(name.cbegin(), name.cend(), [](QChar c) { return c.unicode() <= 0xff; });
}

} // namespace

cZipNameIndex::cZipNameIndex(const QVector<QSharedPointer<cZipEntryBlock>>& blocks) : m_blocks(blocks) {}

QSharedPointer<cZipEntry> cZipNameIndex::find(const QString& name)
{
    if (!isLatin1(name))
        return QSharedPointer<cZipEntry>();
    const QByteArray bytes = name.toLatin1();
    return m_lookUps++ < FewLookUps ? look(bytes) : search(bytes);
}

QSharedPointer<cZipEntry> cZipNameIndex::look(const QByteArray& name) const
{
    for (const QSharedPointer<cZipEntryBlock>& block : m_blocks) {
        for (int i = 0; i < block->count(); ++i) {
            if (isNamed(block->record(i), name))
                return cZipEntryBlock::entry(block, i);
        }
    }
    return QSharedPointer<cZipEntry>();
}

QSharedPointer<cZipEntry> cZipNameIndex::search(const QByteArray& name)
{
    if (m_order.isEmpty())
        sort();
    const auto at =
        std::lower_bound(m_order.cbegin(), m_order.cend(), name, [this](Place place, const QByteArray& key) {
            return compare(record(place), key.constData(), key.size()) < 0;
        });
    if (at == m_order.cend() || !isNamed(record(*at), name))
        return QSharedPointer<cZipEntry>();
    return cZipEntryBlock::entry(m_blocks.at(at->block), at->index);
}

void cZipNameIndex::sort()
{
    for (int block = 0; block < m_blocks.size(); ++block) {
        for (int i = 0; i < m_blocks.at(block)->count(); ++i)
            m_order.append({block, i});
    }
    std::stable_sort(m_order.begin(), m_order.end(),
                     [this](Place left, Place right) { return compare(record(left), record(right)) < 0; });
}

const uchar* cZipNameIndex::record(Place place) const
{
    return m_blocks.at(place.block)->record(place.index);
}
