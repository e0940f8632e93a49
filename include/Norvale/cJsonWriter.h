#pragma once

#include <Norvale/NorvaleGlobal.h>

#include <QtCore/QByteArray>

class cJsonValue;

/** @ingroup json
 * Turns a `cJsonValue` into its compact text. The class holds no state; it may be used from any thread.
 *
 * @code
 * socket.write(cJsonWriter::serialize(message));
 * @endcode
 */
class NORVALE_EXPORT cJsonWriter
{
public:
    /**
     * The compact form of @p v: no spaces, no line ends, members in ascending order of their keys.
     *
     * The bytes are those of a `QTextStream` with default settings: doubles have 6 significant digits, as with `%g`;
     * text is ASCII with the escapes `\uXXXX` for each UTF-16 unit above 127. Keys are written unescaped in the
     * encoding of such a stream, so a key with a double quote or a backslash gives invalid JSON.
     * @return the text. A type that is none of the enumeration ends the process through `qFatal`.
     */
    static QByteArray serialize(const cJsonValue& v);
};
