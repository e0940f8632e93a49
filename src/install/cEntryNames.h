#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>

/**
 * Collects the names of a package's entries and finds out those that cannot stand beside one another in a folder: two
 * that are one file on a system that takes upper and lower case for the same, and a file that is also a folder.
 */
class cEntryNames
{
public:
    /// Deepest folder that is taken, and longest name.
    static constexpr int MaxDepth = 32;
    static constexpr int MaxLength = 1000;

    /// What is wrong with @p name by itself: it must be a way down from a folder, with every step a safe file name. A
    /// "/" at the end marks a folder. Empty when nothing is.
    static QString fault(const QString& name);

    /// Takes @p name in, which has no fault, and the folders on its way. @return what it clashes with as a sentence;
    /// empty when it does not.
    QString add(const QString& name);

private:
    struct Known
    {
        QString spelling;
        bool isFolder;
    };

    QString addStep(const QString& path, bool isFolder, bool isWay, bool* isNew);

    QHash<QString, Known> m_known; // by the form in which names are compared
};
