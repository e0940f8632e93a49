#pragma once

#include <QtCore/QString>

class QFileInfo;

/**
 * Removes a folder with everything in it. Links are removed, never followed, also when the folder itself is one.
 */
class cFolderRemover
{
public:
    /// True when nothing is left at @p path, also when nothing was there. Goes on after what cannot be removed.
    [[nodiscard]] bool remove(const QString& path);

    /// The first path that could not be removed, and why.
    const QString& errorString() const { return m_errorString; }

private:
    bool removeEntry(const QFileInfo& entry);
    bool removeFolder(const QString& path);
    bool removeFile(const QString& path);
    bool fail(const QString& path, const QString& reason);

    QString m_errorString;
};
