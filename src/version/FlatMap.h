#pragma once

#include "version/cPluginId.h"

#include <QtCore/QHash>
#include <QtCore/QLatin1String>
#include <QtCore/QStringView>

#include <tsl/robin_map.h>
#include <tsl/robin_set.h>

#include <type_traits>

/**
 * Hashes a key of the library's indices. Texts are taken as a polynomial modulo a prime, at a point that each process
 * draws for itself, so that no document can be made to have many names of one hash. Qt's hash of a text is not enough
 * for that: it is linear, and names that share it share it whatever the seed is.
 */
struct cSeededHash
{
    using is_transparent = void;

    std::size_t operator()(QStringView text) const;
    std::size_t operator()(const QString& text) const { return (*this)(QStringView(text)); }
    std::size_t operator()(QLatin1String text) const;
    std::size_t operator()(const cPluginId& id) const { return ofId((*this)(id.name()), id.version()); }

    /// That of the id with @p version whose name has the hash @p ofName.
    static std::size_t ofId(std::size_t ofName, const cVersion& version);

    /// Of a key that does not come from outside. Qt 6 has two hashes of an address, with and without `const`.
    template <typename Key>
    std::size_t operator()(const Key& key) const
    {
        const auto seed = uint(qGlobalQHashSeed());
        if constexpr (std::is_pointer_v<Key>)
            return qHash(quintptr(key), seed);
        else
            return qHash(key, seed);
    }
};

/// A hash table whose entries lie side by side, with their hashes, in one block of memory. `QString` keys are found by
/// a `QStringView` too.
template <typename Key, typename Value>
using FlatMap = tsl::robin_map<Key, Value, cSeededHash, std::equal_to<>, std::allocator<std::pair<Key, Value>>, true>;

/// The same for keys alone.
template <typename Key>
using FlatSet = tsl::robin_set<Key, cSeededHash, std::equal_to<>, std::allocator<Key>, true>;

/// The `max_load_factor` of tables that may become larger than the processor's caches. Half of it is usual, which is
/// faster in those that do not.
constexpr float DenseLoad = 0.8F;
