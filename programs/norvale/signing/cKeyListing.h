#pragma once

#include "common/cStyledLine.h"
#include "signing/cSiteMetadata.h"

#include <QtCore/QJsonObject>

class cKeyFolder;

/// What a site's metadata says of its roles: who signs them, how often, until when; and what waits for signatures.
class cKeyListing
{
public:
    /// Keys of @p keys are marked. Both live as long as this object.
    cKeyListing(const cSiteMetadata& metadata, const cKeyFolder& keys) : m_metadata(metadata), m_keys(keys) {}

    cStyledLines lines() const;
    QJsonObject json() const;

private:
    QStringList row(const cDraft& draft, const QString& state) const;
    QJsonObject json(const cDraft& draft) const;
    QJsonObject roleJson(cTrustMetadata::Type type) const;
    const cTrustMetadata& rootFor(const cDraft& draft) const;

    const cSiteMetadata& m_metadata;
    const cKeyFolder& m_keys;
};
