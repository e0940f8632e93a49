#pragma once

#include <QtCore/QMetaType>
#include <QtCore/QVariant>

/// Meta types by their numbers and names. Qt 6 names them by objects; the numbers are those of `QMetaType::Type` on
/// both.
namespace MetaTypes {

/// The number of the type that is registered under @p name; `QMetaType::UnknownType` when there is none.
inline int named(const char* name)
{
#if QT_VERSION_MAJOR < 6
    return QMetaType::type(name);
#else
    return QMetaType::fromName(name).id();
#endif
}

/// A value of the type @p type: a copy of what lies at @p place, or the type's default where that is null.
inline QVariant value(int type, const void* place = nullptr)
{
#if QT_VERSION_MAJOR < 6
    return QVariant(type, place);
#else
    return QVariant(QMetaType(type), place);
#endif
}

inline bool canConvert(const QVariant& value, int type)
{
#if QT_VERSION_MAJOR < 6
    return value.canConvert(type);
#else
    return value.canConvert(QMetaType(type));
#endif
}

/// @return false, with the value of that type that is its default, when @p value cannot be made one of it.
inline bool convert(QVariant& value, int type)
{
#if QT_VERSION_MAJOR < 6
    return value.convert(type);
#else
    return value.convert(QMetaType(type));
#endif
}

} // namespace MetaTypes
