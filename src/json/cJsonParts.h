#pragma once

#include <Norvale/cJsonValue.h>

#include <cstring>

/// The slots of a value, for the room that reads, compares and writes them. The exported class has no such access.
class cJsonParts
{
public:
    static bool isNested(const cJsonValue& v) { return v.m_type == ArrayType || v.m_type == ObjectType; }
    static const QString& string(const cJsonValue& v) { return v.m_string; }
    static const QVector<cJsonValue>& array(const cJsonValue& v) { return v.m_array; }
    static const QMap<QString, cJsonValue>& object(const cJsonValue& v) { return v.m_object; }

    /**
     * The content of a value that has none but that of its type, in one word: numbers as they are, strings, arrays and
     * objects as the address of what they share. Values of one type with the same word are equal.
     */
    static quint64 contentWord(const cJsonValue& v)
    {
        switch (v.m_type) {
        case IntType:
            return quint32(v.m_int);
        case UIntType:
            return v.m_uint;
        case DoubleType:
            return bits(v.m_double);
        case StringType:
            return quintptr(v.m_string.constData());
        case BooleanType:
            return v.m_bool;
        case ArrayType:
            return quintptr(v.m_array.constData());
        case ObjectType:
            return v.m_object.isEmpty() ? 0 : quintptr(&*v.m_object.constBegin());
        default:
            return 0;
        }
    }

    /// Moves the bytes of @p from into @p to, which owns nothing. @p from may then only be forgotten.
    static void relocate(const cJsonValue* from, cJsonValue& to) { copyBytes(from, &to, 1); }

    /// An array of the @p count values at @p from; takes their bytes.
    static QVector<cJsonValue> takeElements(const cJsonValue* from, int count)
    {
        QVector<cJsonValue> elements(count);
        if (count > 0)
            copyBytes(from, elements.data(), count);
        return elements;
    }

    /// Makes @p v the string @p text, and leaves there what it had.
    static void setString(cJsonValue& v, QString& text)
    {
        v.m_type = StringType;
        v.m_string.swap(text);
    }

    /// Makes @p v an array of @p elements, and leaves there what it had.
    static void setArray(cJsonValue& v, QVector<cJsonValue>& elements)
    {
        v.m_type = ArrayType;
        v.m_array.swap(elements);
    }

    /// Makes @p v an object of @p members, and leaves there what it had.
    static void setObject(cJsonValue& v, QMap<QString, cJsonValue>& members)
    {
        v.m_type = ObjectType;
        v.m_object.swap(members);
    }

    static cJsonValue fromVariant(cJsonValue&& start, const QVariant& v);

private:
    struct FromVariantLevel;

    static quint64 bits(double number)
    {
        quint64 word;
        std::memcpy(&word, &number, sizeof word);
        return word;
    }

    // A default value owns nothing, so that its bytes can be replaced without destroying it first.
    static void copyBytes(const cJsonValue* from, cJsonValue* to, int count)
    {
        std::memcpy(static_cast<void*>(to), static_cast<const void*>(from), size_t(count) * sizeof(cJsonValue));
    }

    static void setScalar(cJsonValue& v, JsonValueType type);
    static void takeVariant(cJsonValue& v, const QVariant& from);
    static void openLevel(FromVariantLevel& level, const QVariant& from);
    static const QVariant* nextChild(const FromVariantLevel& level);
    static void addChild(FromVariantLevel& level, cJsonValue&& child);
};
