#pragma once

#include "zip/cZipNameIndex.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QSharedPointer>
#include <QtCore/QVector>

class QIODevice;
class cZipEntry;
class cZipEntryBlock;

/// What an archive holds.
class cZipArchiveData
{
public:
    ~cZipArchiveData() { clear(); }

    void append(const QSharedPointer<cZipEntryBlock>& block);
    void clear();

    const QList<QSharedPointer<cZipEntry>>& entries() const;
    QSharedPointer<cZipEntry> entry(const QString& name) const;

    bool ownsDevice = false;
    QByteArray* bytes = nullptr; ///< Owned; what the device reads when the archive was made of bytes.
    QIODevice* device = nullptr;
    qint64 uncompressedSize = 0;

private:
    QVector<QSharedPointer<cZipEntryBlock>> m_blocks; ///< One for each parse.
    cZipNameIndex m_names;
    mutable QList<QSharedPointer<cZipEntry>> m_entries; ///< Made when it is asked for.
    mutable int m_listedBlocks = 0;
};
