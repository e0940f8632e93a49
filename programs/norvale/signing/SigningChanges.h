#pragma once

#include "trust/cTrustMetadata.h"

#include <QtCore/QStringList>

/// What whoever signs a document puts his name to.
namespace SigningChanges {

/// The id of a key as people read it: its first eight letters.
QString shortId(const QString& id);

/// "1 of 2 keys: 0a1b2c3d, 4e5f6071".
QString textOf(const cTrustRole& role);

/// What @p after says otherwise than @p before, which is null for the first one; a line each, of root and targets.
QStringList between(const cTrustMetadata* before, const cTrustMetadata& after);

} // namespace SigningChanges
