#pragma once

#include <Norvale/cJsonValue.h>

/// The slots of a value, for the room that reads, compares and writes them. The exported class has no such access.
class cJsonParts
{
public:
    static const QString& string(const cJsonValue& v) { return v.m_string; }
    static const QVector<cJsonValue>& array(const cJsonValue& v) { return v.m_array; }
    static const QMap<QString, cJsonValue>& object(const cJsonValue& v) { return v.m_object; }

    static cJsonValue fromVariant(cJsonValue&& start, const QVariant& v);

private:
    struct FromVariantLevel;

    static void setScalar(cJsonValue& v, JsonValueType type);
    static void takeVariant(cJsonValue& v, const QVariant& from);
    static void openLevel(FromVariantLevel& level, const QVariant& from);
    static const QVariant* nextChild(const FromVariantLevel& level);
    static void addChild(FromVariantLevel& level, cJsonValue&& child);
};
