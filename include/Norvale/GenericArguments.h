#pragma once

#include <QtCore/QMetaType>
#include <QtCore/QObject>

#include <type_traits>
#include <utility>

/**
 * @file
 * What `Q_ARG` and `Q_RETURN_ARG` make from Qt 6.5 on, as what they make before.
 *
 * The fixed slots of IServiceMgr take `QGenericArgument` and `QGenericReturnArgument`. Later values are known here by
 * what they have, a `metaType`, `name` and `data`, and not by their types, which an older Qt does not have.
 */

namespace Corvane {

/// Whether `Q_ARG` or `Q_RETURN_ARG` of Qt 6.5 or newer makes a value of this type: false.
template <typename T, typename = void>
struct IsMetaArgument : std::false_type
{
};

/// Whether `Q_ARG` or `Q_RETURN_ARG` of Qt 6.5 or newer makes a value of this type: true.
template <typename T>
struct IsMetaArgument<T, std::void_t<decltype(T::metaType), decltype(T::name), decltype(T::data)>> : std::true_type
{
};

/**
 * A value as the fixed slots of IServiceMgr take it.
 * @param value the value that `Q_ARG` makes before Qt 6.5.
 * @return the same.
 */
inline QGenericArgument genericArgument(const QGenericArgument& value)
{
    return value;
}

/**
 * The place of a result as the fixed slots of IServiceMgr take it.
 * @param value the place that `Q_RETURN_ARG` makes before Qt 6.5.
 * @return the same.
 */
inline QGenericReturnArgument genericArgument(const QGenericReturnArgument& value)
{
    return value;
}

/**
 * A value, or the place of a result, as the fixed slots of IServiceMgr take it.
 * @param value what `Q_ARG` or `Q_RETURN_ARG` makes from Qt 6.5 on.
 * @return a `QGenericArgument` where its data must not be written, else a `QGenericReturnArgument`. It has the same
 *         data, and the same name or, where there is none, that of the `metaType`.
 */
template <typename T, typename = std::enable_if_t<IsMetaArgument<T>::value>>
auto genericArgument(const T& value)
{
    const char* const name = value.name || !value.metaType ? value.name : value.metaType->name;
    if constexpr (std::is_same_v<decltype(value.data), const void*>)
        return QGenericArgument(name, value.data);
    else
        return QGenericReturnArgument(name, value.data);
}

/// How many of the arguments of a call are values, and not the place of its result.
template <typename... Arguments>
constexpr int valueCount =
    (0 + ... +
     int(!std::is_base_of_v<QGenericReturnArgument, decltype(genericArgument(std::declval<const Arguments&>()))>));

} // namespace Corvane
