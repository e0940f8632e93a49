#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QPointer>
#include <QtCore/QSharedPointer>
#include <QtCore/QVector>

class QIODevice;
class cZipArchive;
class cZipEntry;

/// The entries of one parse, and what they share: the memory of their records, and the archive that they watch. An
/// archive has so many entries that each costs no more than its place in this block. All are counted together.
class cZipEntryBlock
{
public:
    /// The block of one empty entry, which owns it.
    explicit cZipEntryBlock(cZipArchive* archive);
    /// @param records the listed ones, which lie in @p memory.
    cZipEntryBlock(cZipArchive* archive, const QVector<QByteArray>& memory, const QVector<const uchar*>& records);
    ~cZipEntryBlock();
    Q_DISABLE_COPY(cZipEntryBlock)

    bool isOfEmptyEntry() const { return m_records.isEmpty(); }
    const QVector<const uchar*>& records() const { return m_records; }
    /// The archive's device; null when the archive is gone or has none.
    QIODevice* device() const;

    /// The entry of the record at @p index. It keeps the whole block.
    static QSharedPointer<cZipEntry> entry(const QSharedPointer<cZipEntryBlock>& block, int index);

private:
    void makeEntries();

    QPointer<cZipArchive> m_archive;
    QVector<QByteArray> m_memory;
    QVector<const uchar*> m_records;
    cZipEntry* m_entries = nullptr; ///< One for each record; made when the first is asked for.
};
