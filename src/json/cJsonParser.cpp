#include "json/cJsonParser.h"

#include "json/JsonNumber.h"
#include "json/JsonScan.h"
#include "json/JsonText.h"
#include "json/cJsonParts.h"

#include <algorithm>
#include <cstring>

cJsonParser::Known::Known(int textBits) : maps(qBound(2, textBits - 10, 6), qBound(2, textBits - 10, 8)) {}

cJsonParser::cJsonParser(const char* begin, const char* end, quint32 maxElements)
    : m_begin(begin), m_at(begin), m_end(end), m_failedAt(begin), m_maxElements(maxElements)
{
    if (end - begin > MaxShortText)
        m_known.emplace(32 - int(qCountLeadingZeroBits(quint32(end - begin))));
}

bool cJsonParser::read(cJsonValue& document)
{
    Outcome outcome = readValue();
    while (outcome == ValueFollows || (outcome == ValueDone && m_levels.size() > 0))
        outcome = outcome == ValueFollows ? readValue() : goOn();
    m_failedAt = m_at;
    if (outcome == Failed && !m_isTooLarge)
        closeFailed();
    document = m_values.size() > 0 && !m_isTooLarge ? std::move(m_values.last()) : cJsonValue();
    return outcome == ValueDone;
}

cJsonParser::Outcome cJsonParser::readValue()
{
    for (;;) {
        m_at = JsonScan::skipSpaces(m_at, m_end);
        const char first = m_at < m_end ? *m_at : '\0';
        if (first == '"')
            return readString();
        if (first == '[')
            return openArray();
        if (first == '{')
            return openObject();
        if (first == '-' || (first >= '0' && first <= '9'))
            return readNumber();
        if (first != '/')
            return readWord();
        if (nextToken() != CommentToken)
            return failValue();
    }
}

cJsonParser::Outcome cJsonParser::readString()
{
    bool isPlain = false;
    const char* const begin = m_at + 1;
    const char* const end = JsonText::findClosingQuote(begin, m_end, &isPlain);
    m_at = end ? end + 1 : m_end;
    if (!end)
        return failValue();
    const bool isKept = m_known && m_known->strings.isUseful() && end - begin <= MaxKnownString;
    const QString* const known = isKept ? m_known->strings.find(QLatin1String(begin, end)) : nullptr;
    if (known) {
        m_values.push(*known);
        return ValueDone;
    }
    QString text;
    if (!JsonText::decode(begin, end, isPlain, text))
        return failValue();
    if (isKept)
        m_known->strings.insert(QLatin1String(begin, end), text);
    cJsonParts::setString(m_values.push(), text);
    return ValueDone;
}

cJsonParser::Outcome cJsonParser::readNumber()
{
    const JsonNumber::Number number = JsonNumber::decode(m_at, m_end);
    switch (number.type) {
    case IntType:
        m_values.push(int(number.asInt));
        return ValueDone;
    case UIntType:
        m_values.push(uint(number.asUInt));
        return ValueDone;
    case DoubleType:
        m_values.push(number.asDouble);
        return ValueDone;
    default:
        return failValue();
    }
}

cJsonParser::Outcome cJsonParser::readWord()
{
    switch (nextToken()) {
    case TrueToken:
        m_values.push(true);
        return ValueDone;
    case FalseToken:
        m_values.push(false);
        return ValueDone;
    case NullToken:
        m_values.push();
        return ValueDone;
    default:
        return failValue();
    }
}

cJsonParser::Outcome cJsonParser::openArray()
{
    ++m_at;
    m_levels.push(Level{m_values.size(), m_names.size(), true});
    m_at = JsonScan::skipSpaces(m_at, m_end);
    if (m_at == m_end || *m_at != ']')
        return ValueFollows;
    ++m_at;
    return close();
}

cJsonParser::Outcome cJsonParser::openObject()
{
    ++m_at;
    m_levels.push(Level{m_values.size(), m_names.size(), false});
    return readName();
}

// Reads on behind the opening bracket or a comma. The object may end here only when the name of its last member is
// empty, as it is before the first member.
cJsonParser::Outcome cJsonParser::readName()
{
    m_at = JsonScan::skipSpaces(m_at, m_end);
    while (m_at < m_end && *m_at == '/') {
        if (nextToken() != CommentToken)
            return fail("Missing '}' or object member name");
        m_at = JsonScan::skipSpaces(m_at, m_end);
    }
    const char first = m_at < m_end ? *m_at++ : '\0';
    if (first == '}' && (m_names.size() == m_levels.last().names || m_names.last()->isEmpty()))
        return close();
    bool isPlain = false;
    const char* const begin = m_at;
    const char* const end = first == '"' ? JsonText::findClosingQuote(begin, m_end, &isPlain) : nullptr;
    if (!end)
        return fail("Missing '}' or object member name");
    m_at = end + 1;
    const QString* const name = decodeName(begin, end, isPlain);
    if (!name)
        return Failed;
    m_at = JsonScan::skipSpaces(m_at, m_end);
    if (m_at == m_end || *m_at++ != ':')
        return fail("Missing ':' after object member name");
    m_names.push(name);
    return ValueFollows;
}

/// The name that stands from @p begin to @p end; null when it cannot be decoded.
const QString* cJsonParser::decodeName(const char* begin, const char* end, bool isPlain)
{
    const bool isKept = m_known && m_known->names.isUseful();
    const QString* const* const known = isKept ? m_known->names.find(QLatin1String(begin, end)) : nullptr;
    if (known)
        return *known;
    QString decoded;
    if (!JsonText::decode(begin, end, isPlain, decoded))
        return nullptr;
    m_decodedNames.push_back(decoded);
    if (isKept)
        m_known->names.insert(QLatin1String(begin, end), &m_decodedNames.back());
    return &m_decodedNames.back();
}

cJsonParser::Outcome cJsonParser::goOn()
{
    m_at = JsonScan::skipSpaces(m_at, m_end);
    const char first = m_at < m_end ? *m_at : '\0';
    return m_levels.last().isArray ? goOnInArray(first) : goOnInObject(first);
}

cJsonParser::Outcome cJsonParser::goOnInArray(char first)
{
    if (first != ',' && first != ']')
        return fail("Missing ',' or ']' in array declaration");
    m_isTooLarge = first == ',' && m_values.size() - m_levels.last().values >= m_maxElements;
    if (m_isTooLarge)
        return fail("Too many elements in array declaration");
    ++m_at;
    return first == ',' ? ValueFollows : close();
}

cJsonParser::Outcome cJsonParser::goOnInObject(char first)
{
    if (first == '/')
        return goOnBehindComment();
    if (first != ',' && first != '}')
        return fail("Missing ',' or '}' in object declaration");
    ++m_at;
    return first == ',' ? readName() : close();
}

// Every token behind the comment but a closing bracket counts as the comma: the rule looks at the comment only.
cJsonParser::Outcome cJsonParser::goOnBehindComment()
{
    Token token = nextToken();
    if (token != CommentToken)
        return fail("Missing ',' or '}' in object declaration");
    while (token == CommentToken)
        token = nextToken();
    return token == ObjectEnd ? close() : readName();
}

// The innermost level is complete: its content becomes one value of the level around it.
cJsonParser::Outcome cJsonParser::close()
{
    const Level level = m_levels.last();
    const int count = int(m_values.size() - level.values);
    cJsonValue* const values = m_values.at(level.values);
    if (level.isArray) {
        QVector<cJsonValue> elements = cJsonParts::takeElements(values, count);
        m_values.forget(level.values);
        cJsonParts::setArray(m_values.push(), elements);
    } else {
        const QString* const* const names = m_names.at(level.names);
        QMap<QString, cJsonValue> members =
            m_known ? m_known->maps.build(names, values, count) : cJsonMapBuilder::buildPlain(names, values, count);
        m_values.forget(level.values);
        m_names.forget(level.names);
        cJsonParts::setObject(m_values.push(), members);
    }
    m_levels.pop();
    return ValueDone;
}

// The caller is told the flag only; the reason ends here.
cJsonParser::Outcome cJsonParser::fail(const char* reason)
{
    Q_UNUSED(reason)
    return Failed;
}

// An element or member exists before its value is read, so it stays, as null. A member that came before under the same
// name keeps its value.
cJsonParser::Outcome cJsonParser::failValue()
{
    if (m_levels.size() > 0 && !m_levels.last().isArray) {
        const QString* const* const first = m_names.at(m_levels.last().names);
        const QString* const* const last = m_names.at(m_names.size() - 1);
        if (std::any_of(first, last, [=](const QString* earlier) { return *earlier == **last; })) {
            m_names.pop();
            return Failed;
        }
    }
    m_values.push();
    return Failed;
}

void cJsonParser::closeFailed()
{
    while (m_levels.size() > 0) {
        skipBehind(m_levels.last().isArray ? ArrayEnd : ObjectEnd);
        close();
    }
}

void cJsonParser::skipBehind(Token closing)
{
    Token token = nextToken();
    while (token != closing && token != EndOfInput)
        token = nextToken();
}

cJsonParser::Token cJsonParser::nextToken()
{
    m_at = JsonScan::skipSpaces(m_at, m_end);
    const char first = m_at < m_end ? *m_at++ : '\0';
    switch (first) {
    case '\0':
        return EndOfInput;
    case '}':
        return ObjectEnd;
    case ']':
        return ArrayEnd;
    case '"':
        skipString();
        return OtherToken;
    case '/':
        return commentToken();
    case 't':
        return wordToken("rue", 3, TrueToken);
    case 'f':
        return wordToken("alse", 4, FalseToken);
    case 'n':
        return wordToken("ull", 3, NullToken);
    default:
        if (first == '-' || (first >= '0' && first <= '9'))
            m_at = JsonNumber::findEnd(m_at, m_end);
        return OtherToken;
    }
}

void cJsonParser::skipString()
{
    bool isPlain = false;
    const char* const end = JsonText::findClosingQuote(m_at, m_end, &isPlain);
    m_at = end ? end + 1 : m_end;
}

cJsonParser::Token cJsonParser::wordToken(const char* rest, int size, Token token)
{
    if (m_end - m_at < size || std::memcmp(m_at, rest, size_t(size)) != 0)
        return OtherToken;
    m_at += size;
    return token;
}

cJsonParser::Token cJsonParser::commentToken()
{
    const char second = m_at < m_end ? *m_at++ : '\0';
    if (second == '/') {
        m_at = std::find_if(m_at, m_end, [](char c) { return c == '\r' || c == '\n'; });
        return CommentToken;
    }
    if (second != '*')
        return OtherToken;
    constexpr char Close[] = {'*', '/'};
    const char* const found = std::search(m_at, m_end, Close, Close + 2);
    m_at = found == m_end ? m_end : found + 2;
    return found == m_end ? OtherToken : CommentToken;
}
