#include "isolation/Frames.h"

#include "version/MetaTypes.h"

int FrameValues::jsonType()
{
    static const int type = qRegisterMetaType<cJsonValue>("cJsonValue");
    return type;
}

bool FrameValues::canTravel(int type)
{
    switch (type) {
    case QMetaType::UnknownType:
        return false;
    case QMetaType::Nullptr:
    case QMetaType::Bool:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
    case QMetaType::QString:
    case QMetaType::QByteArray:
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
    case QMetaType::QVariant:
    case QMetaType::QUrl:
    case QMetaType::QDate:
    case QMetaType::QTime:
    case QMetaType::QDateTime:
        return true;
    default:
        return type == jsonType();
    }
}

int FrameValues::typeOf(const QByteArray& name)
{
    jsonType(); // is known by its name from here on
    const int type = MetaTypes::named(name.constData());
    return type != QMetaType::UnknownType ? type : MetaTypes::named(QMetaObject::normalizedType(name.constData()));
}

QVariant FrameValues::variantOf(int type, const void* place)
{
    return type == QMetaType::QVariant ? *static_cast<const QVariant*>(place) : MetaTypes::value(type, place);
}

bool FrameValues::assign(int type, void* place, const QVariant& value)
{
    if (type == QMetaType::QVariant) {
        *static_cast<QVariant*>(place) = value;
        return true;
    }
    if (value.userType() != type)
        return false;
    const QMetaType meta(type);
    meta.destruct(place);
    meta.construct(place, value.constData());
    return true;
}

void* FrameValues::placeOf(int type, QVariant& value)
{
    if (type == QMetaType::QVariant)
        return &value;
    return value.userType() == type ? value.data() : nullptr;
}
