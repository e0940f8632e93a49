#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

/**
 * Finds icons by their names in the icon themes of the system, as freedesktop.org has laid them down: in the folders of
 * the theme that the application uses, of the themes that it inherits, of "hicolor", and then among the loose pictures.
 *
 * `QIcon::fromTheme` would do the same, but only on the main thread. This may be used on any, one object a thread.
 */
class cIconTheme
{
public:
    /// @p size is the wanted width and height in pixels.
    explicit cIconTheme(int size);

    /// The file of the icon @p name (without a suffix) that fits the size best; empty when there is none that Qt reads.
    QString find(const QString& name) const;

private:
    QString findInTheme(const QString& theme, const QString& name, QStringList* visited) const;
    QString findInFolders(const QString& theme, const QString& name) const;
    QString pictureIn(const QString& folder, const QString& name) const;

    int m_size;
    QStringList m_roots;    // folders that have themes in them
    QStringList m_suffixes; // of pictures that Qt reads, the preferred one first
};
