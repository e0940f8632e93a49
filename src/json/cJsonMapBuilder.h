#pragma once

#include <Norvale/cJsonValue.h>

#include <vector>

/**
 * Makes the member maps of objects out of names and values in the order of the text.
 *
 * Objects that come in a run with the same names get a copy of a map that has these names already, so that no name is
 * compared; all others are filled by insertion with a hint at the end. Where such objects come again with the very same
 * values, they share one map.
 */
class cJsonMapBuilder
{
public:
    using Map = QMap<QString, cJsonValue>;

    /// Remembers 2^ @p shapeBits lists of names and 2^ @p knownBits maps; both are at least 1.
    cJsonMapBuilder(int shapeBits, int knownBits);

    /**
     * The map of @p count names and values. Of equal names the last one counts.
     * @param names texts that outlive the builder; those of one address are known to be equal.
     * @param values as the reader makes them, with content in no slot but that of their type. They are taken over: the
     *        caller forgets them without destroying them.
     */
    Map build(const QString* const* names, cJsonValue* values, int count);

    /// The plain way: one insertion after the other.
    static Map buildPlain(const QString* const* names, cJsonValue* values, int count);

private:
    /// The names of an object as they came, and a map of nulls under them.
    struct Shape
    {
        std::vector<const QString*> names;
        std::vector<int> sorted; // the place in the text of each member of the map, in the order of the map
        Map skeleton;            // empty until the shape has come a second time
        quint32 number = 0;      // tells the shapes apart that use this slot one after the other
        quint32 objects = 0;     // how many objects have been looked up among the known ones
        quint32 repeated = 0;    // how many of them have been found
    };

    /// A map that may come again.
    struct KnownMap
    {
        quint64 hash = 0;
        quint32 shape = 0; // the number of its shape
        Map map;
    };

    static constexpr int MaxShape = 64;

    Shape& slotOf(const QString* const* names, int count);
    static bool matches(const Shape& shape, const QString* const* names, int count);
    void remember(Shape& shape, const QString* const* names, int count);
    static void makeSkeleton(Shape& shape);
    static bool isRepeating(const Shape& shape);
    static Map fill(const Shape& shape, cJsonValue* values);
    Map share(Shape& shape, cJsonValue* values);
    static bool holds(const Map& map, const Shape& shape, const cJsonValue* values);

    int m_shapeShift;
    int m_knownShift;
    std::vector<Shape> m_shapes;
    std::vector<KnownMap> m_known;
    quint32 m_lastShape = 0;
};
