#pragma once

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

/**
 * Makes a single package installable, which belongs to no repository: a description of one feature, "VelmDev", with the
 * package's plugin and those that the feature has so far. A plugin of that feature takes the place of any other of its
 * name, so whoever develops a plugin tries it out without publishing it. Repository name and version stay as they are.
 */
class cPackageLocation
{
public:
    /// Whether @p path names a package rather than a description.
    static bool isPackage(const QString& path);

    /// Describes the package at @p path (absolute), "NAME-VERSION.zip". The installed plugins must have been published.
    /// @return false when it cannot; errorString() tells why.
    [[nodiscard]] bool describe(const QString& path);

    /// Path of the description; it lives as long as this object.
    QString path() const { return m_folder.filePath(QStringLiteral("repository.xml")); }

    QString errorString() const { return m_error; }

private:
    QTemporaryDir m_folder;
    QString m_error;
};
