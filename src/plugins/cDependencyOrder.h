#pragma once

#include <QtCore/QHash>
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
    /// Appends a record to the load list. @return the record's number, counted from 0.
    int addRecord(const QString& name, const QStringList& dependencies);

    /// Appends a place of a record that stands in the list already.
    void addPlace(int record);

    /// The records that can be placed, in the order of their start.
    QVector<int> order();

    /// After order(), a line for each reason why records are left: an absent dependency, or the names along a cycle.
    /// Records that only depend on such ones have no line of their own. Empty when all are placed.
    QStringList reasons() const;

private:
    static constexpr int Absent = -1;

    struct Record
    {
        QString name;
        QStringList dependencies; // as written in the manifest
        QVector<int> providers;   // the record that each dependency needs; Absent when there is none
        QVector<int> dependents;  // the records that need this one, one entry for each dependency
        QVector<int> places;      // ascending
        int missing = 0;          // how many dependencies have not been placed
        bool isPlaced = false;
    };

    void resolve();
    qint64 nextTime(int record, qint64 after) const;
    int firstLeftProvider(int record) const;
    QString describeCycle(int member) const;

    std::vector<Record> m_records;
    int m_length = 0; // of the load list
    QHash<QString, int> m_firstByName;
};
