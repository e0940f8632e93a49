#pragma once

#include <QtCore/QHash>
#include <QtCore/QStringView>

#include <tsl/robin_map.h>
#include <tsl/robin_set.h>

/**
 * Hashes a key of the library's indices with its `qHash`, seeded anew in every process, so that no document can be made
 * to have many names of one hash.
 */
struct cSeededHash
{
    using is_transparent = void;

    template <typename Key>
    std::size_t operator()(const Key& key) const
    {
        return qHash(key, uint(qGlobalQHashSeed()));
    }
};

/// A hash table whose entries lie side by side, with their hashes, in one block of memory. `QString` keys are found by
/// a `QStringView` too.
template <typename Key, typename Value>
using FlatMap = tsl::robin_map<Key, Value, cSeededHash, std::equal_to<>, std::allocator<std::pair<Key, Value>>, true>;

/// The same for keys alone.
template <typename Key>
using FlatSet = tsl::robin_set<Key, cSeededHash, std::equal_to<>, std::allocator<Key>, true>;
