#pragma once

#include "plugins/cFileRecord.h"
#include "zip/cInflater.h"
#include "zip/cZipDirectory.h"

#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVector>

/**
 * A plugin package in memory: its bytes, the records of its directory, and the contents of its entries.
 *
 * The bytes are read once, so what has been checked is what is unpacked, whatever happens to the file meanwhile.
 */
class cPackage
{
public:
    /// Where an entry lies in the package.
    struct Span
    {
        qint64 begin = 0; // of its local header
        qint64 data = 0;
        qint64 end = 0; // one past its data
    };

    /// Reads the file whole. False when the system cannot read it.
    [[nodiscard]] bool readFile(const QString& path);
    void setBytes(const QByteArray& bytes) { m_bytes = bytes; }
    const QByteArray& bytes() const { return m_bytes; }

    /// Reads the records of all entries. False when the bytes are no archive with all of its records.
    [[nodiscard]] bool readDirectory();
    const QVector<cZipRecord>& records() const { return m_records; }

    /// Finds @p record's local header and data, and holds the header against the record.
    [[nodiscard]] bool locate(const cZipRecord& record, Span* span, QString* error) const;

    /// Gives the bytes of an entry, exactly as many as @p record states; more are never allocated.
    [[nodiscard]] bool readContent(const cZipRecord& record, QByteArray* content, QString* error) const;

    /// The files that it unpacks to, by their contents; without times. It has been checked.
    cFileRecord::Files files() const;

    /// Why the last of the functions without an @c error parameter failed.
    const QString& errorString() const { return m_errorString; }

private:
    bool fail(const QString& reason);

    QByteArray m_bytes;
    QVector<cZipRecord> m_records;
    qint64 m_directoryOffset = 0;
    mutable cInflater m_inflater;
    QString m_errorString;
};

/**
 * Writes the files of a package that has been checked into a folder that does not exist yet.
 *
 * As the archive reader lists no folders and no empty files, none are written. What the archive marks as executable
 * becomes so.
 */
class cPackageUnpacker
{
public:
    explicit cPackageUnpacker(const QString& folder) : m_folder(folder) {}

    /// False at the first file that could not be written; errorString() tells which and why, and what was written
    /// stays.
    [[nodiscard]] bool unpack(const cPackage& package);

    /// What has been written, for the record of files.
    const cFileRecord::Files& files() const { return m_files; }

    const QString& errorString() const { return m_errorString; }

private:
    bool unpack(const cPackage& package, const cZipRecord& record);
    bool makeFolderOf(const QString& path);
    bool write(const QString& path, const QByteArray& content, bool isExecutable);
    void note(const QString& name, const QByteArray& content);
    bool fail(const QString& path, const QString& reason);

    QDir m_folder;
    QSet<QString> m_madeFolders;
    cFileRecord::Files m_files;
    QString m_errorString;
};
