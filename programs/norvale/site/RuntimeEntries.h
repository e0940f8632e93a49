#pragma once

#include "config/cRuntimeEntry.h"

#include <QtCore/QList>

class QByteArray;

/// All `runtime` entries of a repository description in document order, sources as written; none when the bytes are not
/// well-formed.
QList<cRuntimeEntry> readRuntimeEntries(const QByteArray& xml);
