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
    // Versions of one name differ in a component or two, mostly by little: a multiplication keeps them apart.
    uint hash = qHash(key.name, seed);
    for (const qint32 component : {key.version.major(), key.version.minor(), key.version.build()})
        hash = hash * 31 + uint(component);
    return hash;
}
