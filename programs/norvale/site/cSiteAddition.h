#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

/// What somebody wants to be published: a version of a feature with its packages, a runtime, or both.
struct cSiteAddition
{
    QString site; ///< Folder of the site.

    QString feature; ///< Empty when there is none.
    QString featureVersion;
    QStringList packages;                    ///< Paths of the feature's packages.
    QMap<QString, QString> displayNames;     ///< Language to text; those of the version before stay unless named here.
    std::optional<QStringList> dependencies; ///< Those of the version before unless given.
    QMap<QString, QString> shared;           ///< Other features that take the same plugins, with their new versions.

    QString repository;        ///< Empty: the one that the site has, or "main".
    QString repositoryVersion; ///< Empty: one more than before.
    QString status;
    std::optional<QString> content; ///< Path of the repository within the site.
    QString coreVersion;            ///< Empty: as before.

    QString runtime; ///< Path of a setup program; empty when there is none.
    QString runtimeVersion;

    bool mayReplace = false; ///< A published version may change.
};
