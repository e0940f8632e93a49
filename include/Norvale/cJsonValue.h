#pragma once

#include <Norvale/NorvaleGlobal.h>

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <utility>

class QDebug;
class QTextStream;
class QVariant;

/// What a `cJsonValue` stands for. The numbers are fixed: they are part of the binary interface. @ingroup json
enum JsonValueType : qint32 {
    NullType = 0,    ///< null, also the default
    IntType = 1,     ///< signed 32-bit integer
    UIntType = 2,    ///< unsigned 32-bit integer
    DoubleType = 3,  ///< double
    StringType = 4,  ///< string
    BooleanType = 5, ///< boolean
    ArrayType = 6,   ///< ordered list of values
    ObjectType = 7   ///< map from string keys to values
};

/** @ingroup json
 * A JSON document, or any value inside one: null, a 32-bit integer, a double, a string, a boolean, an array or an
 * object.
 *
 * A value is no union. It keeps one slot for each representation side by side, and its type only says which slot is
 * meant. Some accessors read their slot whatever the type is, and an operation that changes the type leaves the other
 * slots as they were: an array that becomes an object by `operator[]` with a key still has its elements, and a later
 * `append` makes it an array again and adds behind them.
 *
 * Values are copied freely; copies share strings, arrays and objects until one of them is changed. The object's keys
 * are kept in ascending order of their UTF-16 code units. Nesting is bounded by memory only: a document of a million
 * levels can be read, compared, copied, written and destroyed on a thread with the default stack.
 *
 * Threads: like Qt's containers. One value must not be changed while another thread uses it; copies are independent.
 *
 * @code
 * cJsonValue message(ObjectType);
 * message["command"] = "NEWSERVICE";
 * message["ids"].append(1).append(2);
 * const QByteArray text = cJsonWriter::serialize(message); // {"command":"NEWSERVICE","ids":[1,2]}
 * @endcode
 */
class NORVALE_EXPORT cJsonValue
{
public:
    /** A value of type @p t with empty or zero content; null by default. */
    cJsonValue(JsonValueType t = NullType) noexcept : m_type(t) {}
    /** A string; @p utf8 is NUL-terminated UTF-8 text, null gives the empty string. */
    cJsonValue(const char* utf8);
    /** A string. */
    cJsonValue(const QString& text) : m_type(StringType), m_string(text) {}
    /** A signed integer. */
    cJsonValue(const int& number) noexcept : m_type(IntType), m_int(number) {}
    /** An unsigned integer. */
    cJsonValue(const unsigned int& number) noexcept : m_type(UIntType), m_uint(number) {}
    /** A double. */
    cJsonValue(const double& number) noexcept : m_type(DoubleType), m_double(number) {}
    /** A boolean. */
    cJsonValue(const bool& truth) noexcept : m_type(BooleanType), m_bool(truth) {}
    /** Whatever `fromVariant` makes of @p v. */
    cJsonValue(const QVariant& v);
    /** Copies all slots; strings, arrays and objects are shared until one side changes them. */
    cJsonValue(const cJsonValue& other) = default;
    /** Takes all slots over; @p other is null afterwards. */
    inline cJsonValue(cJsonValue&& other) noexcept;
    /** Destroys the value, however deep it is nested, with a bounded stack. */
    inline ~cJsonValue();

    /** Copies all slots. @p other may be a part of this value. */
    cJsonValue& operator=(const cJsonValue& other);
    /** Takes all slots over. @p other may be a part of this value. */
    cJsonValue& operator=(cJsonValue&& other) noexcept;
    /** Exchanges all slots with @p other. */
    inline void swap(cJsonValue& other) noexcept;

    /** @return what the value stands for. This and the claims below look at nothing but the type. */
    JsonValueType type() const { return m_type; }
    /** @return whether the type is `NullType`. */
    bool isNull() const { return m_type == NullType; }
    /** @return whether the type is `BooleanType`. */
    bool isBoolean() const { return m_type == BooleanType; }
    /** @return whether the type is `IntType`. */
    bool isInt() const { return m_type == IntType; }
    /** @return whether the type is `UIntType`. */
    bool isUInt() const { return m_type == UIntType; }
    /** @return whether the type is `IntType` or `UIntType`. */
    bool isIntegral() const { return isInt() || isUInt(); }
    /** @return whether the type is `DoubleType`. */
    bool isDouble() const { return m_type == DoubleType; }
    /** @return whether the type is `IntType`, `UIntType` or `DoubleType`. */
    bool isNumber() const { return isIntegral() || isDouble(); }
    /** @return whether the type is `StringType`. */
    bool isString() const { return m_type == StringType; }
    /** @return whether the type is `ArrayType`. */
    bool isArray() const { return m_type == ArrayType; }
    /** @return whether the type is `ObjectType`. */
    bool isObject() const { return m_type == ObjectType; }

    /**
     * The number as a signed integer.
     * @return a `UIntType` with the same 32 bits; a `DoubleType` truncated toward zero, -2147483648 when that is
     * outside the range of int or not a number; 0 for every type that is no number.
     */
    int toInt() const;
    /**
     * The number as an unsigned integer.
     * @return an `IntType` with the same 32 bits; the low 32 bits of a `DoubleType` truncated toward zero to 64 bits, 0
     *         when it does not fit those; 0 for every type that is no number.
     */
    unsigned int toUInt() const;
    /** @return the number, exact for both integer types; 0.0 for every type that is no number. */
    double toDouble() const;
    /** @return the boolean slot whatever the type is: nothing is converted, an integer 1 gives false. */
    bool toBool() const { return m_bool; }
    /** @return the string slot whatever the type is: nothing is converted, a number gives the empty string. */
    QString toString() const { return m_string; }
    /** @return the string slot as UTF-8, whatever the type is. */
    QByteArray toUtf8() const { return m_string.toUtf8(); }
    /**
     * The value as a variant: int, uint, double, QString, bool, QVariantList, QVariantMap, or an invalid one for null.
     *
     * A variant is destroyed by recursion. So that what is handed out can be destroyed with the default stack of a
     * thread, arrays and objects nested deeper than 10,000 levels (2,000 on Windows) come out as invalid variants.
     */
    QVariant toVariant() const;
    /**
     * Takes over @p v. The first type that the variant reports it can be converted to decides, tried in this order:
     * int, uint, double, string, bool, list, map; so strings, doubles and booleans become an `IntType`. A null variant,
     * and one that converts to none of these, makes the value null.
     *
     * The number and boolean slots that are not meant become zero. String, array and object slots are not emptied: a
     * list or map adds to the elements or members that the value already has.
     */
    void fromVariant(const QVariant& v);

    /**
     * Element @p i. Makes the value an array, and grows it with nulls when it is too short.
     * @param i index from 0. A negative one is a mistake of the caller and answers the first element.
     * @return a reference that lives until the array is changed.
     */
    cJsonValue& operator[](int i);
    /** @return element @p i whatever the type is; `null()` when there is none. */
    const cJsonValue& operator[](int i) const;
    /** As with a `QString` key; @p key is NUL-terminated UTF-8. */
    cJsonValue& operator[](const char* key);
    /**
     * The member @p key. Makes the value an object, and inserts a null member when there is none of that name.
     * @return a reference that lives until the object is changed.
     */
    cJsonValue& operator[](const QString& key);
    /**
     * The member @p key (NUL-terminated UTF-8) whatever the type is.
     * @throws std::out_of_range "key not found" when there is none. Only this form throws.
     */
    const cJsonValue& operator[](const char* key) const;
    /** @return the member @p key whatever the type is; `null()` when there is none. */
    const cJsonValue& operator[](const QString& key) const;
    /** @return a copy of element @p i whatever the type is, or of @p def when there is none. */
    cJsonValue get(int i, const cJsonValue& def) const;
    /** @return a copy of the member @p key (UTF-8) whatever the type is, or of @p def when there is none. */
    cJsonValue get(const char* key, const cJsonValue& def) const;
    /** @return a copy of the member @p key whatever the type is, or of @p def when there is none. */
    cJsonValue get(const QString& key, const cJsonValue& def) const;
    /** @return whether this is an object with a member @p key (UTF-8). */
    bool contains(const char* key) const;
    /** @return whether this is an object with a member @p key. */
    bool contains(const QString& key) const;
    /** @return the keys of an object in ascending order; an empty list for every other type. */
    QStringList keys() const;
    /** Makes the value an object and inserts or replaces the member @p key. @return this value. */
    cJsonValue& insert(const QString& key, const cJsonValue& v);
    /** Removes the member @p key if there is one; the type stays. @return this value. */
    cJsonValue& deleteKey(const QString& key);
    /** Makes the value an array and adds a copy of @p v at its end. @return this value. */
    cJsonValue& append(const cJsonValue& v);
    /** Removes element @p i if there is one; later ones move down, the type stays. @return this value. */
    cJsonValue& deleteAt(int i);
    /** @return the number of elements of an array or of members of an object; 0 for every other type. */
    unsigned int size() const;
    /** @return whether this is an array or an object without content; false for every other type, null included. */
    bool empty() const;
    /** Empties an array or an object; the type stays. Every other type is left alone. */
    void clear();
    /** @return the shared null value that lookups answer which find nothing; it lives as long as the process. */
    static const cJsonValue& null();

    /**
     * Whether both values are the same.
     * @param other the value to compare with. A value always equals itself; otherwise NaN equals nothing.
     * @param strictType true: the types must be the same. False: an `IntType` equals a `UIntType` of the same number.
     *        Elements and members are always compared strictly.
     * @return true when equal. Objects need the same number of members; a key that @p other lacks counts as null there.
     */
    bool equalTo(const cJsonValue& other, bool strictType) const;
    /** @return the opposite of `equalTo`. */
    bool notEqualTo(const cJsonValue& other, bool strictType) const { return !equalTo(other, strictType); }
    /**
     * Whether both values are the same, or numbers of any two types that differ by at most 1e-12 of the smaller one.
     * Elements and members are compared strictly, so `[1]` and `[1.0]` are not equivalent.
     */
    bool equivalentTo(const cJsonValue& other) const;
    /** @return the opposite of `equivalentTo`. */
    bool notEquivalentTo(const cJsonValue& other) const { return !equivalentTo(other); }
    /** @return whether both are objects and @p other has an equivalent member for each member of this one. */
    bool containedIn(const cJsonValue& other) const;

    /**
     * Writes the compact form, without spaces and line ends, with the number settings of the stream. Keys are written
     * unescaped, strings in ASCII. Ends the process through `qFatal` when a type is none of the enumeration.
     * @return @p s
     */
    QTextStream& serialize(QTextStream& s) const;
    /**
     * Writes the indented form; the last bracket has no line end.
     * @param s the stream, flushed at each line end.
     * @param indent spaces for each level; none when 0 or less.
     * @param level the level of this value, 0 for a document.
     */
    void prettySerialize(QTextStream& s, int indent, int level) const;
    /** @return the indented form with @p indent spaces for each level. */
    QString prettyPrint(int indent) const;

private:
    friend class cJsonParts;

    bool hasNested() const { return !m_array.isEmpty() || !m_object.isEmpty(); }
    void releaseNested() noexcept;

    JsonValueType m_type = NullType;
    qint32 m_int = 0;
    quint32 m_uint = 0;
    double m_double = 0;
    QString m_string;
    bool m_bool = false;
    QVector<cJsonValue> m_array;
    QMap<QString, cJsonValue> m_object;
};

Q_DECLARE_TYPEINFO(cJsonValue, Q_MOVABLE_TYPE);

inline cJsonValue::~cJsonValue()
{
    if (hasNested())
        releaseNested();
}

inline void cJsonValue::swap(cJsonValue& other) noexcept
{
    std::swap(m_type, other.m_type);
    std::swap(m_int, other.m_int);
    std::swap(m_uint, other.m_uint);
    std::swap(m_double, other.m_double);
    m_string.swap(other.m_string);
    std::swap(m_bool, other.m_bool);
    m_array.swap(other.m_array);
    m_object.swap(other.m_object);
}

inline cJsonValue::cJsonValue(cJsonValue&& other) noexcept : cJsonValue()
{
    swap(other);
}

/** @relates cJsonValue @return whether both are equal, types included: `a.equalTo(b, true)`. */
NORVALE_EXPORT bool operator==(const cJsonValue& a, const cJsonValue& b);
/** @relates cJsonValue @return the opposite of `==`. */
NORVALE_EXPORT bool operator!=(const cJsonValue& a, const cJsonValue& b);
/** @relates cJsonValue Writes the compact form of @p v. @return @p s */
NORVALE_EXPORT QTextStream& operator<<(QTextStream& s, const cJsonValue& v);
/** @relates cJsonValue Writes `cJsonWriter::serialize(v)` like any byte array. @return @p debug */
NORVALE_EXPORT QDebug operator<<(QDebug debug, const cJsonValue& v);
