#pragma once

#include <QtCore/QSharedPointer>
#include <QtCore/QVector>

class QByteArray;
class QString;
class cZipEntry;
class cZipEntryBlock;

/// Finds entries by name. It looks through them for the first few names and sorts them for all further ones; a sorted
/// order cannot be made slow by names that somebody has chosen for it.
class cZipNameIndex
{
public:
    /// Of all entries in @p blocks.
    explicit cZipNameIndex(const QVector<QSharedPointer<cZipEntryBlock>>& blocks);

    /// The first entry of this name; null when there is none.
    QSharedPointer<cZipEntry> find(const QString& name);

private:
    struct Place
    {
        int block;
        int index;
    };

    const uchar* record(Place place) const;
    QSharedPointer<cZipEntry> look(const QByteArray& name) const;
    QSharedPointer<cZipEntry> search(const QByteArray& name);
    void sort();

    QVector<QSharedPointer<cZipEntryBlock>> m_blocks;
    QVector<Place> m_order; ///< By name, equal names in the order of the archive.
    int m_lookUps = 0;
};
