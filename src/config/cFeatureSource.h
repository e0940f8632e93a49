#pragma once

#include "config/cUpdateLocation.h"

#include <QtCore/QSharedPointer>
#include <QtCore/QString>

/**
 * Where a plugin package can be fetched: the text of a `source` element and the location of the document that held it.
 */
struct cFeatureSource
{
    /// Null for a document read from the local disk.
    QSharedPointer<cUpdateLocation> location;
    /// As written; a relative one is resolved against the location when the package is fetched.
    QString source;

    /// What to fetch from: an absolute source as it is, another one resolved. Empty when there is no location for it.
    QUrl url() const
    {
        const QUrl absolute(source);
        if (!absolute.isRelative())
            return absolute;
        return location ? location->resolve(source) : QUrl();
    }
};
