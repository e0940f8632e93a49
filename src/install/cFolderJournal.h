#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

/**
 * Notes which plugin folders a run is about to make or to remove, in a file beside the features file.
 *
 * It is written before the first of them is touched and removed when the last is done. Whatever cuts the run off: of
 * the folders noted, those that the features file names belong to what is installed, and all others are leftovers that
 * may be removed, be they half unpacked or replaced.
 */
class cFolderJournal
{
public:
    /// In the plugins folder of this installation.
    cFolderJournal();

    /// Whether a run has left its notes behind.
    bool exists() const;

    /// Adds @p identities, "name-version" each, to what is noted. False when that cannot be written; errorString() says
    /// why.
    [[nodiscard]] bool note(const QStringList& identities);

    /// What is noted, without texts that name no folder of a plugin.
    QStringList identities() const;

    [[nodiscard]] bool remove();

    const QString& errorString() const { return m_errorString; }

private:
    QString m_path;
    QString m_errorString;
};
