#pragma once

#include <Norvale/NorvaleGlobal.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QScopedPointer>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>

class QIODevice;
struct cZipArchiveData;
class cZipEntry;

/** @ingroup zip
 * Lists the files of a zip archive that lies in a file, a byte array or any random-access device. It reads only.
 *
 * Only files with contents are listed: folders and empty files of the archive are left out. Stored and deflated files
 * are known; the first record of any other kind ends the parse. ZIP64, archives of several disks and encrypted files
 * are not handled. Nothing is trusted: what an archive states costs no memory before its bytes are there.
 *
 * Failure is told by a false result only, and nothing is logged; a constructor tells it by an empty entries(), or by a
 * false parse() afterwards.
 *
 * Threads: an archive and its entries are used by one thread at a time. The archive has no parent; delete it from any
 * thread in which it is not in use. The entries may outlive it.
 *
 * @code
 * cZipArchive archive(QStringLiteral("/tmp/Printer-1.02.003.zip"));
 * if (const QSharedPointer<cZipEntry> manifest = archive.entry(QStringLiteral("Manifest.xml")))
 *     handle(manifest->content());
 * @endcode
 */
class NORVALE_EXPORT cZipArchive : public QObject
{
    Q_OBJECT
public:
    /** An archive without entries and without a device. */
    cZipArchive();

    /**
     * Parses the archive in a device.
     * @param device a device that is open for reading and can seek; it stays the caller's, and must outlive the archive
     * or its next clear(). Null gives an archive without a device.
     */
    cZipArchive(QIODevice* device);

    /**
     * Parses an archive in memory.
     * @param bytes the archive, copied (the bytes are shared as long as nobody changes them).
     */
    cZipArchive(const QByteArray& bytes);

    /**
     * Parses an archive file, which stays open until clear().
     * @param path the path of the file; relative ones start at the current folder. A file that cannot be opened is
     * as one without an archive in it.
     */
    cZipArchive(const QString& path);

    /** Does what clear() does. */
    ~cZipArchive() override;

    /**
     * Forgets everything, then parses another device.
     * @param device as for the constructor: open, and not owned.
     * @return whether the parse succeeded, as parse() tells it.
     */
    bool setArchive(QIODevice* device);

    /**
     * Forgets everything, then wraps the caller's bytes without opening them. Without an open device nothing can be
     * read, so that this never finds an archive: it is kept for those that call it. Use the constructor instead.
     * @param bytes the array itself, which is not copied and must outlive the archive or its next clear().
     * @return false.
     */
    bool setArchive(QByteArray& bytes);

    /**
     * Reads the central directory of the device and appends its files to the list, also when they are listed already.
     * The archive must end with its end record and that record's comment, exactly.
     * @return whether all records could be read and are of a known kind; false without a device. After a failure the
     * files before the failing record stay listed. An archive that states no entries gives true, but one of 22 bytes
     * or fewer, or one that begins with its end record, gives false.
     */
    bool parse();

    /** The listed files, in the order of the central directory. */
    QList<QSharedPointer<cZipEntry>> entries() const;

    /**
     * Looks a file up by its name. Many look-ups cost hardly more in a large archive than in a small one.
     * @param name the whole name with its folders separated by "/"; case matters.
     * @return the first listed file of this name; a null pointer when there is none.
     */
    QSharedPointer<cZipEntry> entry(const QString& name) const;

    /** The sum of the unpacked sizes of the listed files in bytes, as the central directory states them. */
    qint64 uncompressedSize() const;

    /** Closes what the archive opened itself, forgets the device and empties the list. */
    void clear();

private:
    friend class cZipEntryBlock;

    QScopedPointer<cZipArchiveData> m_data;
};
