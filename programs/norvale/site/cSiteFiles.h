#pragma once

#include "common/ExitCode.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>
#include <optional>

class QLockFile;

/**
 * The files of a site's folder while one run changes them. Each is replaced in one step; a run that fails leaves
 * nothing behind: what it wrote is taken back, and the folders that it made are removed, unless keep() is called.
 */
class cSiteFiles
{
public:
    cSiteFiles();
    ~cSiteFiles();

    /// Makes the folder @p site unless it is there, and keeps other runs out of it. @return Busy when one is at work.
    [[nodiscard]] ExitCode begin(const QString& site);

    /// Makes @p bytes the content of the file at @p path (absolute), unless they are already.
    [[nodiscard]] bool write(const QString& path, const QByteArray& bytes);

    /// Removes the file at @p path, and the folders above it that it leaves empty, up to @p top. What is not there is
    /// no failure, and one that cannot be removed is found by the next run.
    void remove(const QString& path, const QString& top);

    /// Removes what a run that was cut off was writing in place of the files @p pattern in @p folder; nothing else
    /// writes while the lock is held.
    static void sweep(const QString& folder, const QString& pattern);

    /// What has been written stays.
    void keep() { m_isKept = true; }

    /// Whether anything is other than it was.
    bool isChanged() const;

    /// "new: PATH", "changed: PATH", "already there: PATH" or "removed: PATH" for each file, in order. Paths begin as
    /// the site's was given.
    QStringList lines() const;

    /// The same, each as an object with "path" and "state".
    QJsonArray json() const;

    /// @p path (absolute) as it begins with the site's, which was given.
    QString shown(const QString& path) const;

    QString errorString() const { return m_errorString; }

private:
    enum class State { New, Changed, AlreadyThere, Removed };
    struct File
    {
        QString path;
        State state;
        QByteArray before; // of one that has changed
    };

    static QString word(State state);
    bool makeFolder(const QString& path);
    void undo();

    QString m_site; // as it was given
    QString m_folder;
    std::unique_ptr<QLockFile> m_lock;
    QStringList m_madeFolders; // outer ones first
    QList<File> m_files;
    bool m_isKept = false;
    QString m_errorString;
};
