#pragma once

#include "zip/cInflater.h"
#include "zip/cZipReader.h"

#include <QtCore/QIODevice>
#include <QtCore/QList>
#include <QtCore/QPointer>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <memory>

class cZipArchive;
class cZipDirectory;
class cZipEntry;
struct cZipArchiveData;

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
    /// The name at @p index, in the memory of the block.
    QLatin1String name(int index) const;

    /// What the archive holds; null when it is gone.
    cZipArchiveData* archive() const;

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

/// What an archive holds.
struct cZipArchiveData
{
    /// Where a file of some name is.
    struct Place
    {
        QLatin1String name;
        int block;
        int index;
    };

    /// Reads from @p others, which others own and may change.
    explicit cZipArchiveData(QIODevice* others = nullptr) : reader(others) {}
    /// Reads from @p own, which nobody else reads.
    explicit cZipArchiveData(std::unique_ptr<QIODevice> own)
        : reader(own.get(), cZipReader::Own), ownDevice(std::move(own))
    {
    }

    cZipReader reader;
    std::unique_ptr<QIODevice> ownDevice;
    cInflater inflater;
    qint64 uncompressedSize = 0;
    QVector<QSharedPointer<cZipEntryBlock>> blocks; // one for each parse
    QVector<Place> places;                    // by name, made when a name is asked for; equal names in their order
    QList<QSharedPointer<cZipEntry>> entries; // made when the list is asked for again
    bool wasListed = false;
};
