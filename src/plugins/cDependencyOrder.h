#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <vector>

/// Why records have no place in a dependency order.
struct cOrderFault
{
    QVector<int> records; // the numbers of those that are at fault: one, or all of a circle
    bool isCircle;
    QString absent; // the name of what the one depends on and that is not there; empty for a circle
    QString text;
};

/**
 * Puts plugins into the order in which they may start.
 *
 * The order is that of passes over the load list, repeated as long as one of them places a record: a record is placed
 * when for each of its dependencies the first record of that name in the list has been placed, be it earlier in the
 * same pass. A record may stand in the list more than once, and each of its places counts.
 *
 * It is found without the passes: a record becomes due at its next place in the list after its last dependency has
 * been placed, and a priority queue holds the records that are due. So the time is near-linear in places and
 * dependencies also where it would take a pass for each record.
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

    /// After order(), why records are left, a fault each: an absent dependency, or the names along a cycle. Records
    /// that only depend on such ones have no fault of their own. Empty when all are placed.
    QVector<cOrderFault> faults() const;

    /// After order(), the first record that @p record waits for and that has no place; negative when there is none.
    int firstLeftProvider(int record) const;

private:
    static constexpr int Absent = -1;

    int count() const { return int(m_names.size()); }
    void resolve();
    cOrderFault cycleOf(int member) const;

    std::vector<QString> m_names;
    std::vector<QStringList> m_dependencies; // as written in the manifests
    std::vector<int> m_list;                 // the record at each place

    // Made by order().
    std::vector<int> m_providers;      // the record that each dependency needs, those of the first record first
    std::vector<int> m_providersBegin; // where those of a record begin, and where the last one's end
    std::vector<bool> m_isPlaced;
};
