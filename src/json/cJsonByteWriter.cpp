#include "json/cJsonByteWriter.h"

#include "json/JsonEscape.h"
#include "json/JsonKeyCodec.h"
#include "json/JsonNumber.h"
#include "json/cJsonParts.h"

#include <QtCore/QVarLengthArray>

#include <charconv>
#include <cstring>
#include <limits>

namespace {

/// A byte array holds less than 2 GiB.
constexpr int MaxSize = std::numeric_limits<int>::max() - 64;

/// Strings are written in steps of this many units, so that no more than their escapes need is reserved.
constexpr int StringStep = 2048;

} // namespace

bool cJsonByteWriter::write(const cJsonValue& v)
{
    if (!JsonKeyCodec::keepsAscii())
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

QByteArray cJsonByteWriter::takeText()
{
    m_text.resize(int(m_out - m_text.constData()));
    m_out = m_limit = nullptr;
    return std::move(m_text);
}

cJsonByteWriter::Level cJsonByteWriter::open(const cJsonValue& v)
{
    const QVector<cJsonValue>& elements = cJsonParts::array(v);
    const Members& members = cJsonParts::object(v);
    return {elements.constBegin(), elements.constEnd(), members.constBegin(), members.constEnd(), v.isArray(), false};
}

/// Goes on in an array. @return the nested element that comes next, null when the array has been closed.
const cJsonValue* cJsonByteWriter::writeElements(Level& level)
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
const cJsonValue* cJsonByteWriter::writeMembers(Level& level)
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
void cJsonByteWriter::writeScalar(const cJsonValue& v)
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

void cJsonByteWriter::writeString(const QString& text)
{
    writeByte('"');
    for (int done = 0; done < text.size(); done += StringStep) {
        const int count = qMin(StringStep, text.size() - done);
        reserve(count * JsonEscape::MaxUnit + JsonEscape::Slack);
        m_out = JsonEscape::write(text.constData() + done, count, m_out);
    }
    reserve(SmallSize);
    writeByte('"');
}

void cJsonByteWriter::writeKey(const QString& key)
{
    reserve(key.size() + SmallSize);
    writeByte('"');
    char* const end = JsonEscape::copyAscii(key.constData(), key.size(), m_out);
    if (end)
        m_out = end;
    else
        writeEncodedKey(key);
    reserve(SmallSize);
    writeByte('"');
    writeByte(':');
}

void cJsonByteWriter::writeEncodedKey(const QString& key)
{
    QByteArray encoded;
    m_isUnable = !JsonKeyCodec::encode(key, encoded) || m_isUnable;
    reserve(encoded.size() + SmallSize);
    writeBytes(encoded.constData(), encoded.size());
}

void cJsonByteWriter::writeBytes(const char* bytes, int size)
{
    std::memcpy(m_out, bytes, size_t(size));
    m_out += size;
}

void cJsonByteWriter::reserve(int size)
{
    if (Q_UNLIKELY(m_limit - m_out < size))
        grow(size);
}

void cJsonByteWriter::grow(int size)
{
    const int used = m_out ? int(m_out - m_text.constData()) : 0;
    if (size > MaxSize - used)
        qBadAlloc(); // as a byte array does that would grow beyond its size
    m_text.resize(used + qMax(size, qMin(used, MaxSize - used)));
    m_out = m_text.data() + used;
    m_limit = m_text.data() + m_text.size();
}
