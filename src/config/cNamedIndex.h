#pragma once

#include "version/FlatMap.h"
#include "version/cPluginId.h"

#include <QtCore/QSharedData>
#include <QtCore/QSharedDataPointer>
#include <QtCore/QSharedPointer>
#include <QtCore/QStringView>
#include <QtCore/QVector>

#include <utility>

/**
 * A list of shared records in order, with an index beside it, so that a lookup by name, or by name and version, costs
 * the same however long the list is and still answers the first record in list order.
 *
 * A record has `name()` and `version()`, which never change while it is in the list. Copies share list and index until
 * one of them changes.
 */
template <typename Record>
class cNamedIndex
{
public:
    using Pointer = QSharedPointer<Record>;

    const QVector<Pointer>& list() const { return m_list; }

    void append(Pointer record)
    {
        if (m_list.isEmpty())
            m_list.reserve(FewRecords);
        m_list.append(std::move(record));
        if (m_index) {
            addToIndex(m_list.size() - 1);
        } else if (m_list.size() > SearchedLength) {
            m_index = new Index;
            for (int place = 0; place < m_list.size(); ++place)
                addToIndex(place);
        }
    }

    /// Where in the list the first record with this name stands; -1 when there is none.
    int placeOf(QStringView name) const
    {
        if (m_index) {
            const auto found = m_index->places.find(name);
            return found == m_index->places.end() ? -1 : found->second;
        }
        return placeOfFirst([&](const Record& record) { return record.name() == name; });
    }

    /// The first record with this name; null when none.
    Pointer find(QStringView name) const { return at(placeOf(name)); }

    /// The first record with this name and all three version components equal; null when none.
    Pointer find(const QString& name, const cVersion& version) const
    {
        if (!m_index)
            return at(placeOfFirst(
                [&](const Record& record) { return record.version() == version && record.name() == name; }));
        const int first = placeOf(name);
        if (first < 0 || m_list.at(first)->version() == version)
            return at(first);
        const auto found = m_index->placesOfOtherVersions.find(cPluginId(name, version));
        return found == m_index->placesOfOtherVersions.end() ? Pointer() : m_list.at(found->second);
    }

    void clear()
    {
        m_list.clear();
        m_index = nullptr;
    }

private:
    /// Up to this length a list is searched: most features have a few plugins, and an index for each would take more
    /// memory than the records.
    static constexpr int SearchedLength = 8;
    static constexpr int FewRecords = 4; // room that is made at once

    /// Places in the list. As a rule each name has one version, so the second table stays empty. The names of the first
    /// are those that the records hold.
    struct Index : QSharedData
    {
        Index() { places.max_load_factor(DenseLoad); }

        FlatMap<QStringView, int> places;
        FlatMap<cPluginId, int> placesOfOtherVersions;
    };

    void addToIndex(int place)
    {
        const Record& record = *m_list.at(place);
        const auto [first, isNew] = m_index->places.insert({QStringView(record.name()), place});
        if (!isNew && m_list.at(first->second)->version() != record.version())
            m_index->placesOfOtherVersions.insert({cPluginId(record.name(), record.version()), place});
    }

    Pointer at(int place) const { return place < 0 ? Pointer() : m_list.at(place); }

    template <typename Predicate>
    int placeOfFirst(Predicate isMatch) const
    {
        for (int place = 0; place < m_list.size(); ++place) {
            if (isMatch(*m_list.at(place)))
                return place;
        }
        return -1;
    }

    QVector<Pointer> m_list;
    QSharedDataPointer<Index> m_index; // null while the list is searched
};
