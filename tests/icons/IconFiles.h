#pragma once

#include <QtCore/QTemporaryDir>
#include <QtGui/QPixmap>

/// Files of many kinds, in a folder that is the current one.
class IconFiles
{
public:
    IconFiles();
    ~IconFiles();

    QString path(const QString& name) const { return QDir(m_folder.path()).filePath(name); }

    /// The rows of a table: a file, and what its icon shows.
    void addRows() const;
    QString shownIn(const QPixmap& icon) const;

    static const char* const Some; ///< A file that has an icon.

private:
    QTemporaryDir m_folder;
};
