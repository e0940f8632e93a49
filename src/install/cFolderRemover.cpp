#include "install/cFolderRemover.h"

#include "core/System.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

/// What a plugin has locked against writing is removed all the same.
void makeWritable(const QString& path)
{
    QFile::setPermissions(path, QFile::permissions(path) | QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

bool isLink(const QFileInfo& entry)
{
    return entry.isSymLink() || entry.isJunction();
}

} // namespace

bool cFolderRemover::remove(const QString& path)
{
    m_errorString.clear();
    const QFileInfo entry(path);
    return (!entry.exists() && !isLink(entry)) || removeEntry(entry);
}

bool cFolderRemover::removeEntry(const QFileInfo& entry)
{
    const QString path = entry.absoluteFilePath();
    return entry.isDir() && !isLink(entry) ? removeFolder(path) : removeFile(path);
}

bool cFolderRemover::removeFolder(const QString& path)
{
    const QFileInfo folder(path);
    if (!folder.isWritable() || !folder.isReadable() || !folder.isExecutable())
        makeWritable(path);
    bool isEmpty = true;
    const QDir::Filters everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (const QFileInfo& entry : QDir(path).entryInfoList(everything, QDir::Unsorted))
        isEmpty = removeEntry(entry) && isEmpty;
    return isEmpty && (removeEmptyFolder(path) || fail(path, QStringLiteral("the folder is not empty or in use")));
}

bool cFolderRemover::removeFile(const QString& path)
{
    // A link to a folder is taken away as a file on some systems, as a folder on others.
    QFile file(path);
    if (file.remove() || QDir().rmdir(path))
        return true;
    const QString reason = file.errorString();
    if (isLink(QFileInfo(path)))
        return fail(path, reason);
    makeWritable(path);
    return file.remove() || fail(path, reason);
}

bool cFolderRemover::fail(const QString& path, const QString& reason)
{
    if (m_errorString.isEmpty())
        m_errorString = QStringLiteral("%1 cannot be removed: %2").arg(path, reason);
    return false;
}
