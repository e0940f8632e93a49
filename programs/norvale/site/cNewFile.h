#pragma once

#include "plugins/cManifest.h"

#include <Norvale/cVersion.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

/// A package or a setup program that is to be published.
struct cNewFile
{
    QString path; ///< Where it comes from.
    QByteArray bytes;
    QByteArray hash; ///< SHA-1
    QString source;  ///< Where it goes, relative to the repository.
    QString name;    ///< Of the plugin, or of the setup program.
    cVersion version;
    std::optional<cManifest> manifest; ///< Of a package.
};
