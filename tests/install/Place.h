#pragma once

#include <Files.h>
#include <Tree.h>

/// An installation in a folder of its own, with the site that it is updated from.
class Place
{
public:
    explicit Place(const QString& folder) : m_folder(folder) {}

    QString path(const QString& name) const { return m_folder + '/' + name; }

    /// Runs this program as a child, which takes @p steps. @return its exit code; -1 when it was killed, -2 when
    /// it did not start.
    int run(const QString& steps, const QString& faults = QString()) const;

    /// What the last child said, and its calls that change the disk.
    QString said() const { return QString(readFile(m_folder + ".log")); }
    QList<QByteArray> report() const { return readFile(m_folder + ".report").trimmed().split('\n'); }

    /// What counts on the disk: the installation, with a record of files that is the same whenever the same is
    /// installed, what is pending, and the machine-wide settings.
    Tree state() const;

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
