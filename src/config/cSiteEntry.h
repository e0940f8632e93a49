#pragma once

#include <QtCore/QString>

/**
 * One `repository` element of a site description; an absent attribute is the empty text.
 */
struct cSiteEntry
{
    QString config;
    QString status;
    QString platform;
    QString update;  ///< The repository's name.
    QString content; ///< The repository's path, relative to the location of the site.

    /// Whether this installation takes its repository @p name of @p requiredStatus from here. All texts are compared
    /// exactly; the configuration is always "release" and the platform "x64".
    bool fits(const QString& name, const QString& requiredStatus) const
    {
        return config == QLatin1String("release") && status == requiredStatus && platform == QLatin1String("x64") &&
               update == name;
    }
};
