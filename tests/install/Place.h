#pragma once

#include <Tree.h>

#include <QtCore/QStringList>

/// An installation in a folder of its own, with the site that it is updated from.
class Place
{
public:
    explicit Place(const QString& folder) : m_folder(folder) {}

    /// Runs this program as a child, which takes @p steps. @return its exit code; -1 when it was killed, -2 when
    /// it did not start.
    int run(const QString& steps, const QString& faults = QString()) const;

    /// What the last child said, and its calls that change the disk.
    QString said() const;
    QList<QByteArray> report() const;

    /// Writes a file, or packages with their description, below the folder.
    bool write(const QString& path, const QByteArray& content) const;
    bool removeFolder(const QString& path) const;
    bool offer(const QString& where, const QStringList& words) const;
    /// Adds to what @p where offers a patch of the plugin @p name, from its installed version 1.0 to 2.0.
    bool offerPatch(const QString& where, const QString& name) const;

    Tree plugins() const;
    Tree data() const;
    Tree trust() const;
    Tree site() const;
    QByteArray settings() const;

    /// The files of installed plugins that are not as the record of files says, with what is wrong.
    QStringList unrecorded() const;

    /// Of a lock without contents Qt waits half a minute whether its owner fills it, and what a killed run has left
    /// beside trusted metadata is not somebody's at work after a minute. Let that have passed.
    void age() const;

    void save();
    bool restore() const;
    void remove() const;

private:
    QString m_folder;
    Tree m_saved;
};
