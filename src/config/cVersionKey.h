#pragma once

#include <Norvale/cVersion.h>

#include <QtCore/QHash>
#include <QtCore/QString>

/// Name and version of a record, as the key of a hash.
struct cVersionKey
{
    QString name;
    cVersion version;
};

inline bool operator==(const cVersionKey& left, const cVersionKey& right)
{
    return left.version == right.version && left.name == right.name;
}

inline uint qHash(const cVersionKey& key, uint seed = 0)
{
    QtPrivate::QHashCombine combine;
    seed = combine(seed, key.name);
    seed = combine(seed, key.version.major());
    seed = combine(seed, key.version.minor());
    return combine(seed, key.version.build());
}
