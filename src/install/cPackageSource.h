#pragma once

#include <QtCore/QSharedPointer>
#include <QtCore/QString>

class cFeaturePlugin;
class cUpdateLocation;

/**
 * Finds the packages of a location on the local disk.
 */
class cPackageSource
{
public:
    /// The location is the folder of the description at @p path.
    explicit cPackageSource(const QString& path);

    /// "name-version.zip" beside the description, whether it is there or not.
    QString besideDescription(const cFeaturePlugin& plugin) const;

    /// That file, or else the first source of the plugin that is an existing file; empty when there is neither. A
    /// relative source is taken from the location of its document, by default this one.
    QString find(const cFeaturePlugin& plugin) const;

private:
    QString m_folder;
    QSharedPointer<cUpdateLocation> m_location;
};
