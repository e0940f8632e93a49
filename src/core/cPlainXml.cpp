#include "core/cPlainXml.h"

#include "core/cXmlBounds.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace {

/// By the code of a byte: whether a tag may have it outside of values, in a name or between names.
constexpr std::array<bool, 256> plainBytesOfTags()
{
    std::array<bool, 256> plain{};
    for (int c = 0; c < 128; ++c) {
        const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
        plain[size_t(c)] = isLetter || (c >= '-' && c <= ':');
    }
    for (const char c : {' ', '\n', '\t', '='})
        plain[size_t(c)] = true;
    return plain;
}

/// In text or values.
bool hasUnplainByte(const char* begin, const char* end)
{
    constexpr char Unplain[] = {'&', '\r', '\0'};
    return std::any_of(std::begin(Unplain), std::end(Unplain),
                       [=](char c) { return std::memchr(begin, c, size_t(end - begin)) != nullptr; });
}

bool isBlank(const char* begin, const char* end)
{
    return std::all_of(begin, end, [](char c) { return c == ' ' || c == '\n' || c == '\t'; });
}

} // namespace

cPlainXml::cPlainXml(const QByteArray& xml, bool keepsBlanks, int pieceSize)
    : m_xml(xml)
    , m_keepsBlanks(keepsBlanks)
    , m_pieceSize(pieceSize)
    , m_at(m_xml.constData())
    , m_end(m_at + m_xml.size())
{
    if (!m_xml.startsWith("<?xml "))
        return;
    // One that does not say UTF-8 is left to the DOM.
    m_declaration = m_xml.indexOf("?>") + 2;
    m_isPlain = m_xml.left(int(m_declaration)).toLower().contains("encoding=\"utf-8\"");
}

QByteArray cPlainXml::next()
{
    if (!m_isPlain || m_at == m_end)
        return QByteArray();
    QByteArray piece(int(qMin<qptrdiff>(m_pieceSize, m_end - m_at)), Qt::Uninitialized);
    int size = 0;
    const char* text = m_at;
    const char* at = m_at + std::exchange(m_declaration, 0);
    do {
        const void* const found = std::memchr(at, '<', size_t(m_end - at));
        const char* const tag = found ? static_cast<const char*>(found) : m_end;
        const bool isDropped = isBlank(at, tag) && (tag == m_end || !(m_keepsBlanks || text == m_xml.constData()));
        at = endOfTag(tag);
        if (!at)
            return stop();
        const char* const kept = isDropped ? tag : text;
        piece.resize(qMax(piece.size(), size + int(at - kept)));
        std::copy(kept, at, piece.data() + size);
        size += int(at - kept);
        text = at;
    } while (at != m_end && at - m_at < m_pieceSize);
    if (hasUnplainByte(m_at, at))
        return stop();
    m_at = at;
    piece.truncate(size);
    return piece;
}

QByteArray cPlainXml::stop()
{
    m_isPlain = false;
    return QByteArray();
}

/// Behind the tag that begins at @p tag; null when its names or a value are not plain, or it has too many values.
const char* cPlainXml::endOfTag(const char* tag) const
{
    static constexpr std::array<bool, 256> Plain = plainBytesOfTags();
    const auto isOther = [](char c) { return !Plain[uchar(c)]; };
    if (tag == m_end)
        return tag;
    int values = 0;
    const char* at = tag + 1;
    for (; (at = std::find_if(at, m_end, isOther)) != m_end; ++at) {
        const char quote = *at;
        if (quote == '>')
            return at + 1;
        if ((quote != '"' && quote != '\'') || ++values > cXmlBounds::MaxAttributes)
            return nullptr;
        at = std::find_if(at + 1, m_end, [=](char c) { return c == quote || c == '\n' || c == '\t'; });
        if (at == m_end || *at != quote)
            return nullptr;
    }
    return at;
}
