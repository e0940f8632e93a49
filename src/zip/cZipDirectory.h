#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

class QIODevice;
class cZipReader;

/// One record of the central directory, whatever it stands for: file, empty file or folder.
struct cZipRecord
{
    enum Flag { IsEncrypted = 0x1, HasDataDescriptor = 0x8 };

    QString name; // each byte is one Latin-1 character, as cZipEntry::name() gives it
    quint16 versionMadeBy = 0;
    quint16 flags = 0;
    quint32 method = 0;
    quint32 crc = 0;
    quint32 compressedSize = 0;
    quint32 uncompressedSize = 0;
    quint32 externalAttributes = 0;
    quint32 localHeaderOffset = 0;
    bool hasSignature = false; // the archive reader does not ask for it

    /// Whether the archive reader takes it: deflated, or stored with two equal sizes.
    bool isAcceptable() const;
    /// Whether the archive lists it: its name does not end with "/", and it has contents.
    bool isListed() const { return uncompressedSize != 0 && !isFolder(); }
    bool isFolder() const { return name.endsWith(QLatin1Char('/')); }
    /// The Unix mode that archivers of Unix systems keep (file type and permissions); 0 from other systems.
    quint32 unixMode() const;
};

/// Reads the central directory of a zip archive: its end record, and then every record of it. The archive reader and
/// the check of packages see the same records, for both are built on this.
class cZipDirectory
{
public:
    /// Reads all records of @p device, which is open and can seek. May be called again, for another device too.
    /// @return whether as many records as the end record states were there; after a failure those before it are kept.
    bool read(QIODevice* device);
    /// As above, through a reader.
    bool read(cZipReader& reader);

    /// Why the last read() failed; empty after a success.
    QString errorString() const { return m_error; }

    /// What the archive reader passes over and a package must not have, since its files would not be all that it holds:
    /// ZIP64 records, several disks, an end record that does not count as many records as there are. Empty when there
    /// is nothing of that; valid whether or not read() has succeeded.
    QString packageFault() const { return m_packageFault; }

    int count() const { return m_records.size(); }
    cZipRecord record(int index) const;

    /// The records' raw bytes, 46 and then the name of each. They live as long as a copy of blocks().
    const QVector<const uchar*>& rawRecords() const { return m_records; }
    /// The memory that the raw records lie in.
    const QVector<QByteArray>& blocks() const { return m_blocks; }

    /// Where the end record says the central directory begins.
    quint32 directoryOffset() const { return m_directoryOffset; }

private:
    qint64 readRecords(cZipReader& reader, int total, quint32 statedSize);
    qint64 takeRecords(const QByteArray& block, int total, bool isLast);
    const uchar* cutOff(const uchar* record, int nameSpace);
    bool fail(const QString& reason);

    QVector<const uchar*> m_records;
    QVector<QByteArray> m_blocks;
    QString m_error;
    QString m_packageFault;
    quint32 m_directoryOffset = 0;
};
