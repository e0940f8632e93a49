#include "json/cJsonMapBuilder.h"

#include "json/cJsonParts.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr quint64 HashFactor = Q_UINT64_C(0x9E3779B97F4A7C15); // 2^64 by the golden ratio: spreads over the high bits

} // namespace

cJsonMapBuilder::cJsonMapBuilder(int shapeBits, int knownBits)
    : m_shapeShift(64 - shapeBits)
    , m_knownShift(64 - knownBits)
    , m_shapes(size_t(1) << shapeBits)
    , m_known(size_t(1) << knownBits)
{
}

cJsonMapBuilder::Map cJsonMapBuilder::buildPlain(const QString* const* names, cJsonValue* values, int count)
{
    Map map;
    for (int i = 0; i < count; ++i)
        cJsonParts::relocate(values + i, *map.insert(map.constEnd(), *names[i], cJsonValue()));
    return map;
}

cJsonMapBuilder::Map cJsonMapBuilder::build(const QString* const* names, cJsonValue* values, int count)
{
    if (count == 0 || count > MaxShape)
        return buildPlain(names, values, count);
    Shape& shape = slotOf(names, count);
    if (!matches(shape, names, count)) {
        remember(shape, names, count);
        return buildPlain(names, values, count);
    }
    if (shape.sorted.empty())
        makeSkeleton(shape);
    // Names that come twice in one object leave the map shorter than the text.
    if (shape.skeleton.size() != count)
        return buildPlain(names, values, count);
    return isRepeating(shape) ? share(shape, values) : fill(shape, values);
}

cJsonMapBuilder::Shape& cJsonMapBuilder::slotOf(const QString* const* names, int count)
{
    const quint64 ends = quint64(quintptr(names[0])) + quint64(quintptr(names[count - 1])) * 31 + quint64(count);
    return m_shapes[size_t((ends * HashFactor) >> m_shapeShift)];
}

bool cJsonMapBuilder::matches(const Shape& shape, const QString* const* names, int count)
{
    return shape.names.size() == size_t(count) && std::equal(names, names + count, shape.names.begin());
}

void cJsonMapBuilder::remember(Shape& shape, const QString* const* names, int count)
{
    shape = Shape();
    shape.names.assign(names, names + count);
    shape.number = ++m_lastShape;
}

void cJsonMapBuilder::makeSkeleton(Shape& shape)
{
    shape.sorted.resize(shape.names.size());
    std::iota(shape.sorted.begin(), shape.sorted.end(), 0);
    std::sort(shape.sorted.begin(), shape.sorted.end(),
              [&](int a, int b) { return *shape.names[size_t(a)] < *shape.names[size_t(b)]; });
    for (const int i : shape.sorted)
        shape.skeleton.insert(shape.skeleton.constEnd(), *shape.names[size_t(i)], cJsonValue());
}

cJsonMapBuilder::Map cJsonMapBuilder::fill(const Shape& shape, cJsonValue* values)
{
    Map map = shape.skeleton;
    auto source = shape.sorted.begin();
    for (auto member = map.begin(); member != map.end(); ++member)
        cJsonParts::relocate(values + *source++, *member);
    return map;
}

/// Whether objects of @p shape are worth looking up: at least one in eight has been found so far.
bool cJsonMapBuilder::isRepeating(const Shape& shape)
{
    return shape.objects < 64 || shape.repeated >= shape.objects / 8;
}

cJsonMapBuilder::Map cJsonMapBuilder::share(Shape& shape, cJsonValue* values)
{
    const int count = int(shape.sorted.size());
    quint64 hash = shape.number;
    for (int i = 0; i < count; ++i)
        hash = (hash ^ cJsonParts::contentWord(values[i])) * HashFactor;
    KnownMap& known = m_known[size_t(hash >> m_knownShift)];
    ++shape.objects;
    if (known.hash != hash || known.shape != shape.number || !holds(known.map, shape, values)) {
        known = KnownMap{hash, shape.number, fill(shape, values)};
        return known.map;
    }
    ++shape.repeated;
    std::for_each(values, values + count, [](cJsonValue& value) { value.~cJsonValue(); });
    return known.map;
}

// A known map keeps alive what it refers to, so an equal address means equal content.
bool cJsonMapBuilder::holds(const Map& map, const Shape& shape, const cJsonValue* values)
{
    auto source = shape.sorted.begin();
    for (const cJsonValue& known : map) {
        const cJsonValue& value = values[*source++];
        if (known.type() != value.type() || cJsonParts::contentWord(known) != cJsonParts::contentWord(value))
            return false;
    }
    return true;
}
