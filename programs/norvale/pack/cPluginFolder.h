#pragma once

#include "plugins/ManifestRules.h"

#include <QtCore/QFileInfo>
#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

class cFindings;

/**
 * The files of a plugin's folder, held against what an installation takes: no links, no names that leave the folder or
 * that another system reads otherwise, a manifest.
 */
class cPluginFolder
{
public:
    struct File
    {
        QString name; // relative to the folder, with "/"
        QString path;
        qint64 size;
    };

    /// Files whose relative name matches one of @p excluded (shell wildcards) do not belong to the plugin.
    explicit cPluginFolder(const QString& path, const QStringList& excluded = {});

    /// Reads the folder and all below; links are never followed. What is not allowed is added to @p findings, named
    /// with its path.
    void scan(cFindings& findings);

    /// Sorted by name, byte by byte. Valid after scan().
    const QList<File>& files() const { return m_files; }

    /// The names of files().
    QSet<QString> names() const;
    QString manifestPath() const { return m_path + QLatin1Char('/') + ManifestRules::FileName; }

private:
    void scanFolder(const QString& relative, QStringList& pending, cFindings& findings);
    void addFile(const QString& name, const QFileInfo& info, cFindings& findings);
    bool isNameGood(const QString& name, const QFileInfo& info, cFindings& findings);
    bool isExcluded(const QString& name) const;

    QString m_path;
    QStringList m_excluded;
    QList<File> m_files;
    QSet<QString> m_lowerNames; // of files and folders, to find those that differ in case only
};
