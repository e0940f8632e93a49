#include "zip/cZipNameIndex.h"

#include "zip/ZipRecords.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <algorithm>
#include <cstring>
#include <numeric>

using namespace ZipRecords;

namespace {

constexpr int FewLookUps = 8;

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

bool isLatin1(const QString& name)
{
    return std::all_of(name.cbegin(), name.cend(), [](QChar c) { return c.unicode() <= 0xff; });
}

} // namespace

void cZipNameIndex::append(const QVector<const uchar*>& records)
{
    m_records += records;
    m_order.clear();
    m_lookUps = 0;
}

void cZipNameIndex::clear()
{
    *this = cZipNameIndex();
}

int cZipNameIndex::find(const QString& name) const
{
    if (!isLatin1(name))
        return -1;
    const QByteArray bytes = name.toLatin1();
    return ++m_lookUps <= FewLookUps ? findByLooking(bytes) : findInOrder(bytes);
}

int cZipNameIndex::findByLooking(const QByteArray& name) const
{
    for (int place = 0; place < m_records.size(); ++place) {
        const uchar* record = m_records.at(place);
        if (field16(record, CentralNameLength) == name.size() && compare(record, name.constData(), name.size()) == 0)
            return place;
    }
    return -1;
}

int cZipNameIndex::findInOrder(const QByteArray& name) const
{
    if (m_order.isEmpty()) {
        m_order.resize(m_records.size());
        std::iota(m_order.begin(), m_order.end(), 0);
        std::sort(m_order.begin(), m_order.end(), [this](int left, int right) {
            const int order = compare(m_records.at(left), m_records.at(right));
            return order != 0 ? order < 0 : left < right;
        });
    }
    const auto at = std::lower_bound(m_order.cbegin(), m_order.cend(), name, [this](int place, const QByteArray& key) {
        return compare(m_records.at(place), key.constData(), key.size()) < 0;
    });
    const bool isFound = at != m_order.cend() && compare(m_records.at(*at), name.constData(), name.size()) == 0;
    return isFound ? *at : -1;
}
