#pragma once

#include <QtCore/QDir>
#include <QtCore/QSet>
#include <QtCore/QString>

class QByteArray;
class cPackage;
struct cZipRecord;

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

    const QString& errorString() const { return m_errorString; }

private:
    bool unpack(const cPackage& package, const cZipRecord& record);
    bool makeFolderOf(const QString& path);
    bool write(const QString& path, const QByteArray& content, bool isExecutable);
    bool fail(const QString& path, const QString& reason);

    QDir m_folder;
    QSet<QString> m_madeFolders;
    QString m_errorString;
};
