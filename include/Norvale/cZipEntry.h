#pragma once

#include <Norvale/NorvaleGlobal.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

class cZipArchive;
class cZipEntryBlock;

/** @ingroup zip
 * One file of a zip archive: its name, its sizes, and its bytes on request.
 *
 * Entries are made by `cZipArchive::entries()` and `cZipArchive::entry()`, which hand them out as shared pointers. An
 * entry may outlive its archive: it then still tells its name and sizes, and its contents are empty. The entries of one
 * parse share one piece of memory, which is freed with the last of them.
 *
 * Threads: an entry is used by one thread at a time, together with its archive and the archive's device.
 *
 * The CRC-32 is never verified, and nothing is logged: failures are told by empty contents only.
 */
class NORVALE_EXPORT cZipEntry
{
public:
    /**
     * An empty entry: no name, sizes of 0, and its local header at the beginning of the archive.
     * @param archive the archive that contents are read from; it is only watched, and may be null.
     */
    cZipEntry(cZipArchive* archive);
    virtual ~cZipEntry();

    cZipEntry(const cZipEntry&) = delete;
    cZipEntry& operator=(const cZipEntry&) = delete;

    /**
     * The name of the file with its path in the archive.
     * @return the name as it is stored, its folders separated by "/"; each of its bytes is one Latin-1 character.
     */
    QString name() const;

    /** The number of packed bytes that the central directory states; negative above 2147483647. */
    int compressedSize() const;

    /** The number of unpacked bytes that the central directory states; negative above 2147483647. */
    int uncompressedSize() const;

    /**
     * Reads the data of the file as it lies in the archive. For a stored file these are its bytes. The number of bytes
     * is the one of the file's local header, not compressedSize().
     * @return the bytes; fewer than stated when the archive ends before. Empty when the archive is gone or has no
     * device, when the local header cannot be read, and when it leaves the size to a data descriptor.
     */
    QByteArray compressedContent() const;

    /**
     * Reads the data of the file and inflates it, whatever its method is: for a stored file use compressedContent().
     * Inflating goes on beyond uncompressedSize() as long as packed bytes are left.
     * @return the bytes of the file. Empty when compressedContent() is, when its bytes are no complete deflate stream,
     * or when they inflate to more than a byte array holds.
     */
    QByteArray content() const;

private:
    friend class cZipEntryBlock;
    cZipEntry(cZipEntryBlock* block, const uchar* record);

    cZipEntryBlock* m_block; // what the entries of one parse share
    const uchar* m_record;   // this entry's record of the central directory, in memory that the block keeps
};
