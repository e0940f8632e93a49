#pragma once

#include <Norvale/cJsonValue.h>

#include <QtCore/QByteArray>

/**
 * The reader's rules written down one by one, without regard to speed or depth: a recursive descent over a tokenizer,
 * filling values through the public interface only. What the library's reader is compared with.
 */
class PlainJsonReader
{
public:
    explicit PlainJsonReader(const QByteArray& input) : m_input(input), m_end(input.size()) {}

    cJsonValue parse(bool* ok)
    {
        cJsonValue document;
        *ok = readValue(document);
        return document;
    }

private:
    enum Kind {
        EndOfInput,
        ObjectBegin,
        ObjectEnd,
        ArrayBegin,
        ArrayEnd,
        StringToken,
        NumberToken,
        TrueToken,
        FalseToken,
        NullToken,
        ArraySeparator,
        MemberSeparator,
        CommentToken,
        ErrorToken
    };
    struct Token
    {
        Kind kind = ErrorToken;
        int start = 0;
        int end = 0;
    };

    void skipSpaces()
    {
        while (m_at < m_end &&
               (m_input[m_at] == ' ' || m_input[m_at] == '\t' || m_input[m_at] == '\r' || m_input[m_at] == '\n'))
            ++m_at;
    }

    Token next()
    {
        skipSpaces();
        Token token;
        token.start = m_at;
        token.kind = kindOf(m_at < m_end ? m_input[m_at++] : '\0');
        token.end = m_at;
        return token;
    }

    Kind kindOf(char first)
    {
        static const QByteArray single("\0{}[],:", 7);
        static const Kind kinds[] = {EndOfInput, ObjectBegin,    ObjectEnd,      ArrayBegin,
                                     ArrayEnd,   ArraySeparator, MemberSeparator};
        const int at = single.indexOf(first);
        if (at >= 0)
            return kinds[at];
        if (first == '"')
            return scanString();
        if (first == '-' || (first >= '0' && first <= '9'))
            return scanNumber();
        if (first == '/')
            return scanComment();
        return first == 't'   ? scanWord("rue", TrueToken)
               : first == 'f' ? scanWord("alse", FalseToken)
               : first == 'n' ? scanWord("ull", NullToken)
                              : ErrorToken;
    }

    Kind scanString()
    {
        while (m_at < m_end) {
            const char c = m_input[m_at++];
            if (c == '"')
                return StringToken;
            if (c == '\\' && m_at < m_end)
                ++m_at;
        }
        return ErrorToken;
    }

    Kind scanNumber()
    {
        while (m_at < m_end && m_input[m_at] != '\0' && QByteArray("0123456789.eE+-").contains(m_input[m_at]))
            ++m_at;
        return NumberToken;
    }

    Kind scanWord(const QByteArray& rest, Kind kind)
    {
        if (m_input.mid(m_at, rest.size()) != rest)
            return ErrorToken;
        m_at += rest.size();
        return kind;
    }

    Kind scanComment()
    {
        const char second = m_at < m_end ? m_input[m_at++] : '\0';
        if (second == '*') {
            const int close = m_input.indexOf("*/", m_at);
            m_at = close < 0 ? m_end : close + 2;
            return close < 0 ? ErrorToken : CommentToken;
        }
        if (second != '/')
            return ErrorToken;
        while (m_at < m_end && m_input[m_at] != '\r' && m_input[m_at] != '\n')
            ++m_at;
        return CommentToken;
    }

    Token nextNoComment()
    {
        Token token = next();
        while (token.kind == CommentToken)
            token = next();
        return token;
    }

    bool readValue(cJsonValue& top)
    {
        const Token token = nextNoComment();
        switch (token.kind) {
        case ObjectBegin:
            return readObject(top);
        case ArrayBegin:
            return readArray(top);
        case StringToken: {
            QString text;
            const bool isGood = decodeString(token, text);
            if (isGood)
                top = text;
            return isGood;
        }
        case NumberToken:
            return decodeNumber(token, top);
        case TrueToken:
            top = true;
            return true;
        case FalseToken:
            top = false;
            return true;
        case NullToken:
            top = cJsonValue();
            return true;
        default:
            return false;
        }
    }

    bool readObject(cJsonValue& top)
    {
        top = cJsonValue(ObjectType);
        QString name;
        for (;;) {
            Token token = nextNoComment();
            if (token.kind == ObjectEnd && name.isEmpty())
                return true;
            name.clear();
            if (token.kind != StringToken || !decodeString(token, name) || next().kind != MemberSeparator ||
                !readValue(top[name]))
                return false;
            token = next();
            if (token.kind != ObjectEnd && token.kind != ArraySeparator && token.kind != CommentToken)
                return false;
            while (token.kind == CommentToken)
                token = next();
            if (token.kind == ObjectEnd)
                return true;
        }
    }

    bool readArray(cJsonValue& top)
    {
        top = cJsonValue(ArrayType);
        skipSpaces();
        if (m_at < m_end && m_input[m_at] == ']') {
            ++m_at;
            return true;
        }
        for (int i = 0;; ++i) {
            if (!readValue(top[i]))
                return false;
            const Kind kind = next().kind;
            if (kind != ArraySeparator)
                return kind == ArrayEnd;
        }
    }

    bool decodeNumber(const Token& token, cJsonValue& top)
    {
        const QByteArray text = m_input.mid(token.start, token.end - token.start);
        if (text.contains('.') || text.contains('e') || text.contains('E') || text.contains('+') ||
            text.lastIndexOf('-') > 0)
            return decodeDouble(text, top);
        const bool isNegative = text[0] == '-';
        const quint32 limit = isNegative ? 214748364 : 429496729;
        quint32 value = 0;
        for (int i = isNegative ? 1 : 0; i < text.size(); ++i) {
            if (value >= limit)
                return decodeDouble(text, top);
            value = value * 10 + quint32(text[i] - '0');
        }
        if (isNegative)
            top = -int(value);
        else
            top = value < 2147483648u ? cJsonValue(int(value)) : cJsonValue(value);
        return true;
    }

    static bool decodeDouble(const QByteArray& text, cJsonValue& top)
    {
        bool ok = false;
        const double number = QString::fromLatin1(text).toDouble(&ok);
        if (ok)
            top = number;
        return ok;
    }

    bool decodeString(const Token& token, QString& text) const
    {
        static const QByteArray letters("\"/\\bfnrt");
        static const char meant[] = "\"/\\\b\f\n\r\t";
        for (int i = token.start + 1; i < token.end - 1; ++i) {
            if (m_input[i] != '\\') {
                text += QLatin1Char(m_input[i]);
                continue;
            }
            if (++i == token.end - 1)
                return false;
            if (m_input[i] == 'u') {
                const QByteArray digits = m_input.mid(i + 1, 4);
                for (const char digit : digits) {
                    if (!QByteArray("0123456789abcdefABCDEF").contains(digit) || digit == '\0')
                        return false;
                }
                if (i + 4 >= token.end - 1)
                    return false;
                text += QChar(digits.toUShort(nullptr, 16));
                i += 4;
                continue;
            }
            const int at = letters.indexOf(m_input[i]);
            if (at < 0)
                return false;
            text += QLatin1Char(meant[at]);
        }
        return true;
    }

    QByteArray m_input;
    int m_at = 0;
    int m_end = 0;
};
