#pragma once

#include <Norvale/cJsonValue.h>

#include <QtCore/QByteArray>

/**
 * Writes the compact form straight into bytes, the same bytes as a text stream with default settings.
 *
 * Where it cannot promise that, `write` answers false, and the caller takes a stream: for encodings in which ASCII is
 * not ASCII, for keys that need the rules of an encoding it does not know, and for types that are none.
 */
class cJsonByteWriter
{
public:
    /// Writes @p v. @return whether it could; nothing of the text may be used otherwise.
    bool write(const cJsonValue& v);

    /// The text, which is left empty.
    QByteArray takeText();

private:
    /// An array or object that is being written: what is left of it.
    struct Level
    {
        const cJsonValue* at;
        const cJsonValue* end;
        QMap<QString, cJsonValue>::const_iterator member;
        QMap<QString, cJsonValue>::const_iterator memberEnd;
        bool isArray;
        bool isBegun; ///< something has been written, so that a comma comes next
    };

    using Members = QMap<QString, cJsonValue>;

    static Level open(const cJsonValue& v);
    const cJsonValue* writeElements(Level& level);
    const cJsonValue* writeMembers(Level& level);
    void writeScalar(const cJsonValue& v);
    void writeString(const QString& text);
    void writeKey(const QString& key);
    void writeEncodedKey(const QString& key);
    void writeBytes(const char* bytes, int size);
    void writeByte(char byte) { *m_out++ = byte; }
    void reserve(int size);
    void grow(int size);

    /// Room for a number, a word, a bracket, a comma and whatever stands beside them.
    static constexpr int SmallSize = 32;

    QByteArray m_text;
    char* m_out = nullptr; ///< the end of what has been written; there is room up to `m_limit`
    char* m_limit = nullptr;
    bool m_isUnable = false;
};
