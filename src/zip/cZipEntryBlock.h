#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QPointer>
#include <QtCore/QSharedPointer>
#include <QtCore/QVector>

class cZipArchive;
class cZipDirectory;
class cZipEntry;
class cZipReader;

/// The entries of one parse, and what they share: the memory of their records, and the archive that they watch. An
/// archive has so many entries that each costs no more than its place in this block. All are counted together.
class cZipEntryBlock
{
public:
    /// The block of one empty entry, which owns it.
    explicit cZipEntryBlock(cZipArchive* archive);
    /// The block of what an archive lists of its directory: up to the first record that it does not take.
    cZipEntryBlock(cZipArchive* archive, const cZipDirectory& directory);
    ~cZipEntryBlock();
    Q_DISABLE_COPY(cZipEntryBlock)

    /// Whether it took all records of the directory.
    bool isComplete() const { return m_isComplete; }
    qint64 uncompressedSize() const { return m_uncompressedSize; }
    int count() const { return m_count; }
    const uchar* record(int index) const;

    /// Reads the archive; null when it is gone.
    cZipReader* reader() const;

    /// The entry at @p index. It keeps the whole block.
    static QSharedPointer<cZipEntry> entry(const QSharedPointer<cZipEntryBlock>& block, int index);
    /// Appends all entries.
    static void list(const QSharedPointer<cZipEntryBlock>& block, QList<QSharedPointer<cZipEntry>>& entries);

private:
    QPointer<cZipArchive> m_archive;
    QVector<QByteArray> m_memory;
    cZipEntry* m_entries = nullptr;
    int m_count = 0;
    bool m_isComplete = true;
    qint64 m_uncompressedSize = 0;
};
