#pragma once

#include <QtCore/QDebug>

/**
 * The one place that looks inside a QDebug, whose stream is private: how many QDebug objects share the stream decides
 * whether text that is left in it will be flushed by the object that is about to be destroyed.
 *
 * The explicit instantiation below may name the private member; it stops compiling should Qt change it.
 */
namespace DebugStream {

template <auto Member>
struct Access
{
    friend auto privateStream(const QDebug& debug) { return debug.*Member; }
};
template struct Access<&QDebug::stream>;
auto privateStream(const QDebug& debug);

/// How many objects share the stream of @p debug; 0 when it has been moved from.
inline int owners(const QDebug& debug)
{
    const auto stream = privateStream(debug);
    return stream ? stream->ref : 0;
}

/// True when both share one stream.
inline bool isSame(const QDebug& a, const QDebug& b)
{
    return privateStream(a) == privateStream(b);
}

/// The text stream below @p debug, which has not been moved from.
inline QTextStream& textStream(const QDebug& debug)
{
    return privateStream(debug)->ts;
}

} // namespace DebugStream
