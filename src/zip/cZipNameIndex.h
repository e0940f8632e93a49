#pragma once

#include <QtCore/QVector>

class QString;

/// Finds raw records of the central directory by name. It looks through them for the first few names and sorts them for
/// all further ones; a sorted order cannot be made slow by names that somebody has chosen for it.
class cZipNameIndex
{
public:
    void append(const QVector<const uchar*>& records);
    void clear();

    /// The place of the first record of this name among all that were appended; -1 when there is none.
    int find(const QString& name) const;

private:
    int findByLooking(const QByteArray& name) const;
    int findInOrder(const QByteArray& name) const;

    QVector<const uchar*> m_records;
    mutable QVector<int> m_order; ///< Places of the records by name, equal names by place.
    mutable int m_lookUps = 0;
};
