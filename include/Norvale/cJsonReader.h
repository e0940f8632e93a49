#pragma once

#include <Norvale/NorvaleGlobal.h>

#include <QtCore/QByteArray>

class QIODevice;
class QString;
class cJsonValue;

/** @ingroup json
 * Turns JSON text, held as bytes, into a `cJsonValue`.
 *
 * The reader is lenient in some places and strict in others: comments are allowed where a value or a member name may
 * stand and after a member's value; whatever follows the first complete value is ignored; a comma before a closing
 * bracket is an error, and so is a comment between an element of an array and its separator. Each byte of a string that
 * is no escape becomes one character (Latin-1); UTF-8 sequences are not combined. Nesting is bounded by memory only; an
 * array by what Qt's vector holds, a little over 38 million elements: reading ends at the comma behind the last that
 * fits, and gives null.
 *
 * A number without `.`, `e`, `E` or `+` is an `IntType` up to 2147483647 (negative: down to -2147483639), a `UIntType`
 * up to 4294967289, and a `DoubleType` beyond.
 *
 * Failure is told by the flag, and how far the reading had come by `errorPosition`. The result then holds what had been
 * read before.
 *
 * Threads: a reader may be used by one thread at a time; readers are independent of each other.
 *
 * @code
 * cJsonValue message;
 * if (cJsonReader::parse(bytes, message))
 *     handle(message["command"].toString());
 * @endcode
 */
class NORVALE_EXPORT cJsonReader
{
public:
    /** A reader of @p text, NUL-terminated bytes, which are copied. */
    cJsonReader(const char* text);
    /** A reader of @p text as Latin-1; characters outside it are lost. */
    cJsonReader(const QString& text);
    /** A reader of the bytes @p text. */
    cJsonReader(const QByteArray& text);
    /** A reader of all that @p device, open for reading, has left; it is read now and not kept. Null gives an empty
     * text. */
    cJsonReader(QIODevice* device);
    /** A reader of the same text as @p other. */
    cJsonReader(const cJsonReader& other);
    virtual ~cJsonReader();

    /** Takes the text of @p other. */
    cJsonReader& operator=(const cJsonReader& other);

    /**
     * Reads the text from its beginning; may be called again.
     * @param ok if not null, receives whether a complete value was read.
     * @return the document; after a failure what had been read of it, null if nothing.
     */
    cJsonValue parse(bool* ok = nullptr);

    /**
     * Reads @p text with a reader of its own. All forms take what the constructor of the same form takes.
     * @param text the text to read.
     * @param out receives the document, also the incomplete one of a failure.
     * @return whether a complete value was read.
     */
    static bool parse(const char* text, cJsonValue& out);
    /** As above, for a text. */
    static bool parse(const QString& text, cJsonValue& out);
    /** As above, for bytes. */
    static bool parse(const QByteArray& text, cJsonValue& out);
    /** As above, for the rest of a device. */
    static bool parse(QIODevice* device, cJsonValue& out);
    /** As above, for the text of @p reader. */
    static bool parse(const cJsonReader& reader, cJsonValue& out);

    /**
     * Where the last `parse` of this reader failed.
     * @return the number of bytes that had been read when it met what it does not take; -1 when it has not failed, 0
     * when it ran out of memory.
     */
    int errorPosition() const;

private:
    QByteArray m_input;
    int m_errorPosition = -1;
};
