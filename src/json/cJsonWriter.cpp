#include <Norvale/cJsonWriter.h>

#include <Norvale/cJsonValue.h>

#include "json/JsonNumber.h"
#include "json/JsonText.h"
#include "json/StreamEncoding.h"
#include "json/cJsonParts.h"

#include <QtCore/QIODevice>
#include <QtCore/QTextStream>
#include <QtCore/QVarLengthArray>

#include <charconv>
#include <cstring>
#include <limits>

namespace {

/// Whether each surrogate has its other half. A stream keeps a half that stands alone and joins it to what follows.
bool isWellFormed(const QString& text)
{
    for (int i = 0; i < text.size(); ++i) {
        if (!text.at(i).isSurrogate())
            continue;
        if (!text.at(i).isHighSurrogate() || i + 1 == text.size() || !text.at(i + 1).isLowSurrogate())
            return false;
        ++i;
    }
    return true;
}

/// Encodes @p key as a stream does, wherever it stands. @return false where that depends on its neighbours.
bool encode(const QString& key, QByteArray& bytes)
{
    return isWellFormed(key) && StreamEncoding::encode(key, bytes);
}

constexpr int MaxSize = std::numeric_limits<int>::max() - 64; // a byte array holds less than 2 GiB
constexpr int SmallSize = 32;    // room for a number, a word, a bracket, a comma and whatever stands beside them
constexpr int StringStep = 2048; // units of a string that are written at once, so that little too much is reserved

/**
 * Writes the compact form straight into bytes, the same bytes as a text stream with default settings.
 *
 * `write` answers false where it cannot promise that, and the caller takes a stream: for encodings in which ASCII is
 * not ASCII, for keys that need the rules of an encoding that is not known, and for types that are none.
 */
class cByteWriter
{
public:
    /// Writes @p v. @return whether it could; the text may not be used otherwise.
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
        bool isBegun; // something has been written, so that a comma comes next
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

    QByteArray m_text;
    char* m_out = nullptr;   // the end of what has been written
    char* m_limit = nullptr; // the end of the room for more
    bool m_isUnable = false;
};

bool cByteWriter::write(const cJsonValue& v)
{
    if (!StreamEncoding::keepsAscii())
        return false;
    grow(SmallSize);
    if (!cJsonParts::isNested(v)) {
        writeScalar(v);
        return !m_isUnable;
    }
    QVarLengthArray<Level, 64> levels;
    const cJsonValue* nested = &v;
    do {
        if (nested) {
            reserve(SmallSize);
            writeByte(nested->isArray() ? '[' : '{');
            levels.append(open(*nested));
        } else {
            levels.removeLast();
            if (levels.isEmpty())
                break;
        }
        nested = levels.last().isArray ? writeElements(levels.last()) : writeMembers(levels.last());
    } while (!m_isUnable);
    return !m_isUnable;
}

QByteArray cByteWriter::takeText()
{
    m_text.resize(int(m_out - m_text.constData()));
    m_out = m_limit = nullptr;
    return std::move(m_text);
}

cByteWriter::Level cByteWriter::open(const cJsonValue& v)
{
    const QVector<cJsonValue>& elements = cJsonParts::array(v);
    const Members& members = cJsonParts::object(v);
    const cJsonValue* const begin = elements.constData();
    return {begin, begin + elements.size(), members.constBegin(), members.constEnd(), v.isArray(), false};
}

/// Goes on in an array. @return the nested element that comes next, null when the array has been closed.
const cJsonValue* cByteWriter::writeElements(Level& level)
{
    while (level.at != level.end) {
        reserve(SmallSize);
        if (level.isBegun)
            writeByte(',');
        level.isBegun = true;
        const cJsonValue& element = *level.at++;
        if (cJsonParts::isNested(element))
            return &element;
        writeScalar(element);
    }
    reserve(SmallSize);
    writeByte(']');
    return nullptr;
}

/// Goes on in an object. @return the nested member that comes next, null when the object has been closed.
const cJsonValue* cByteWriter::writeMembers(Level& level)
{
    while (level.member != level.memberEnd) {
        reserve(SmallSize);
        if (level.isBegun)
            writeByte(',');
        level.isBegun = true;
        writeKey(level.member.key());
        const cJsonValue& member = level.member.value();
        ++level.member;
        if (cJsonParts::isNested(member))
            return &member;
        writeScalar(member);
    }
    reserve(SmallSize);
    writeByte('}');
    return nullptr;
}

// The caller has reserved room for what is small.
void cByteWriter::writeScalar(const cJsonValue& v)
{
    switch (v.type()) {
    case NullType:
        return writeBytes("null", 4);
    case IntType:
        m_out = std::to_chars(m_out, m_limit, v.toInt()).ptr;
        return;
    case UIntType:
        m_out = std::to_chars(m_out, m_limit, v.toUInt()).ptr;
        return;
    case DoubleType:
        m_out = JsonNumber::write(v.toDouble(), m_out);
        return;
    case StringType:
        return writeString(cJsonParts::string(v));
    case BooleanType:
        return v.toBool() ? writeBytes("true", 4) : writeBytes("false", 5);
    default:
        m_isUnable = true;
    }
}

void cByteWriter::writeString(const QString& text)
{
    writeByte('"');
    for (int done = 0; done < text.size(); done += StringStep) {
        const int count = qMin(StringStep, text.size() - done);
        reserve(count * JsonText::MaxEscape + JsonText::Slack);
        m_out = JsonText::escape(text.constData() + done, count, m_out);
    }
    reserve(SmallSize);
    writeByte('"');
}

void cByteWriter::writeKey(const QString& key)
{
    reserve(key.size() + SmallSize);
    writeByte('"');
    char* const end = JsonText::copyAscii(key.constData(), key.size(), m_out);
    if (end)
        m_out = end;
    else
        writeEncodedKey(key);
    reserve(SmallSize);
    writeByte('"');
    writeByte(':');
}

void cByteWriter::writeEncodedKey(const QString& key)
{
    QByteArray encoded;
    m_isUnable = !encode(key, encoded) || m_isUnable;
    reserve(encoded.size() + SmallSize);
    writeBytes(encoded.constData(), encoded.size());
}

void cByteWriter::writeBytes(const char* bytes, int size)
{
    std::memcpy(m_out, bytes, size_t(size));
    m_out += size;
}

void cByteWriter::reserve(int size)
{
    if (Q_UNLIKELY(m_limit - m_out < size))
        grow(size);
}

void cByteWriter::grow(int size)
{
    const int used = m_out ? int(m_out - m_text.constData()) : 0;
    if (size > MaxSize - used)
        qBadAlloc(); // as a byte array does that would grow beyond its size
    m_text.resize(used + qMax(size, qMin(used, MaxSize - used)));
    m_out = m_text.data() + used;
    m_limit = m_text.data() + m_text.size();
}

} // namespace

QByteArray cJsonWriter::serialize(const cJsonValue& v)
{
    cByteWriter writer;
    if (writer.write(v))
        return writer.takeText();
    QByteArray text;
    QTextStream stream(&text, QIODevice::ReadWrite);
    v.serialize(stream);
    stream.flush();
    return text;
}
