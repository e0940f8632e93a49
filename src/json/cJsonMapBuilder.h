#pragma once

#include <Norvale/cJsonValue.h>

#include <vector>

/**
 * Makes the member maps of objects out of names and values in the order of the text.
 *
 * Objects that come in a run with the same names get a copy of a map that has these names already, so that no name is
 * compared; all others are filled by insertion with a hint at the end.
 */
class cJsonMapBuilder
{
public:
    using Map = QMap<QString, cJsonValue>;

    /**
     * The map of @p count names and values. Of equal names the last one counts.
     * @param names texts that outlive the builder; those of one address are known to be equal.
     * @param values taken over by their bytes: the caller forgets them without destroying them.
     */
    Map build(const QString* const* names, cJsonValue* values, int count);

    /// The plain way: one insertion after the other.
    static Map buildPlain(const QString* const* names, cJsonValue* values, int count);

private:
    /// The names of an object as they came, and a map of nulls under them.
    struct Shape
    {
        std::vector<const QString*> names;
        std::vector<int> sorted; ///< the place in the text of each member of the map, in the order of the map
        Map skeleton;            ///< empty until the shape has come a second time
    };

    static constexpr int MinShape = 2;
    static constexpr int MaxShape = 64;
    static constexpr int SlotBits = 6;

    Shape& slotOf(const QString* const* names, int count);
    static bool matches(const Shape& shape, const QString* const* names, int count);
    static void remember(Shape& shape, const QString* const* names, int count);
    static void makeSkeleton(Shape& shape);
    static Map fill(const Shape& shape, cJsonValue* values);

    Shape m_shapes[1 << SlotBits];
};
