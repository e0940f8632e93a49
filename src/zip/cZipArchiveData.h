#pragma once

#include "zip/cZipNameIndex.h"
#include "zip/cZipReader.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QScopedPointer>
#include <QtCore/QSharedPointer>
#include <QtCore/QVector>

class QIODevice;
class cZipArchive;
class cZipEntry;
class cZipEntryBlock;

/// What an archive holds.
class cZipArchiveData
{
public:
    ~cZipArchiveData() { clear(); }

    /// Reads from @p device, which others own and may change.
    void setDevice(QIODevice* device);
    /// Reads from @p device, which is deleted with this object and only read by it.
    void setOwnDevice(QIODevice* device);
    cZipReader& reader() { return m_reader; }

    /// Reads the directory and appends what is listed. @return whether all records are there and acceptable.
    bool parse(cZipArchive* archive);
    void clear();

    QList<QSharedPointer<cZipEntry>> entries() const;
    QSharedPointer<cZipEntry> entry(const QString& name) const;

    qint64 uncompressedSize() const { return m_uncompressedSize; }

private:
    cZipReader m_reader;
    bool m_ownsDevice = false;
    qint64 m_uncompressedSize = 0;
    QVector<QSharedPointer<cZipEntryBlock>> m_blocks;   ///< One for each parse.
    mutable QScopedPointer<cZipNameIndex> m_index;      ///< Made when a name is asked for.
    mutable QList<QSharedPointer<cZipEntry>> m_entries; ///< Made when it is asked for again.
    mutable int m_listedBlocks = 0;                     ///< That it holds.
    mutable bool m_wasListed = false;
};
