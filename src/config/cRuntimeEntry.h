#pragma once

#include <Norvale/cVersion.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// A `runtime` element of a repository description: a setup program that brings a newer runtime.
struct cRuntimeEntry
{
    cVersion version;
    /// File name of the setup program; also the name shown in progress.
    QString name;
    /// Expected SHA-1 as raw bytes.
    QByteArray hash;
    /// As written: relative to the repository's location.
    QString source;
};
