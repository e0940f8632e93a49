#include "json/cJsonMapBuilder.h"

#include "json/cJsonParts.h"

#include <algorithm>
#include <numeric>

cJsonMapBuilder::Map cJsonMapBuilder::buildPlain(const QString* const* names, cJsonValue* values, int count)
{
    Map map;
    for (int i = 0; i < count; ++i)
        cJsonParts::relocate(values + i, *map.insert(map.constEnd(), *names[i], cJsonValue()));
    return map;
}

cJsonMapBuilder::Map cJsonMapBuilder::build(const QString* const* names, cJsonValue* values, int count)
{
    if (count < MinShape || count > MaxShape)
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
    return fill(shape, values);
}

cJsonMapBuilder::Shape& cJsonMapBuilder::slotOf(const QString* const* names, int count)
{
    const quint64 ends = quint64(quintptr(names[0])) + quint64(quintptr(names[count - 1])) * 31 + quint64(count);
    return m_shapes[(ends * Q_UINT64_C(0x9E3779B97F4A7C15)) >> (64 - SlotBits)];
}

bool cJsonMapBuilder::matches(const Shape& shape, const QString* const* names, int count)
{
    return shape.names.size() == size_t(count) && std::equal(names, names + count, shape.names.begin());
}

void cJsonMapBuilder::remember(Shape& shape, const QString* const* names, int count)
{
    shape.names.assign(names, names + count);
    shape.sorted.clear();
    shape.skeleton.clear();
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
