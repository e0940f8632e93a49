#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <vector>

/**
 * Puts plugins into the order in which they may start.
 *
 * The order is that of passes over the load list, repeated as long as one of them places a record: a record is placed
 * when for each of its dependencies the first record of that name in the list has been placed, be it earlier in the
 * same pass. A record may stand in the list more than once, and each of its places counts.
 *
 * It is found without the passes: a record becomes due at its next place in the list after its last dependency has
 * been placed. So the time is near-linear in places and dependencies also where it would take a pass for each record.
 */
class cDependencyOrder
{
public:
    /// Makes room for as many records and places; more are welcome.
    void reserve(int records, int places);

    /// Appends a record to the load list. @return the record's number, counted from 0.
    int addRecord(const QString& name, const QStringList& dependencies);

    /// Appends a place of a record that stands in the list already.
    void addPlace(int record);

    /// The records that can be placed, in the order of their start. Called once.
    QVector<int> order();

    /// After order(), a line for each reason why records are left: an absent dependency, or the names along a cycle.
    /// Records that only depend on such ones have no line of their own. Empty when all are placed.
    QStringList reasons() const;

private:
    static constexpr int Absent = -1;

    /// Numbers in groups, one behind the other: with ten thousand plugins a list for each would be all over the memory.
    class cGroups
    {
    public:
        struct Group
        {
            const int* first;
            const int* last;
            const int* begin() const { return first; }
            const int* end() const { return last; }
        };

        /// Puts the number `valueOf(i)` into the group `keys[i]`, in this order, except where the key is Absent.
        template <typename ValueOf>
        void build(int count, const std::vector<int>& keys, ValueOf valueOf);
        Group group(int key) const { return {m_values.data() + m_begin[key], m_values.data() + m_begin[key + 1]}; }

    private:
        std::vector<int> m_begin;
        std::vector<int> m_values;
    };

    int count() const { return int(m_names.size()); }
    void resolve();
    int placeBehind(int record, int place) const;
    int firstLeftProvider(int record) const;
    QString describeCycle(int member) const;

    std::vector<QString> m_names;
    std::vector<QStringList> m_dependencies; // as written in the manifests
    std::vector<int> m_list;                 // the record at each place

    // Made by order().
    std::vector<int> m_providers;      // the record that each dependency needs, those of the first record first
    std::vector<int> m_providersBegin; // where those of a record begin
    cGroups m_dependents;              // the records that need a record, once for each dependency
    cGroups m_places;                  // the places of a record, ascending
    std::vector<int> m_missing;        // how many dependencies of a record have not been placed
    std::vector<bool> m_isPlaced;
};
