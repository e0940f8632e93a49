#include "log/LineText.h"

#include "version/Shown.h"

#include <QtCore/QDateTime>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace {

void append(LineText::Bytes& line, const QByteArray& bytes)
{
    line.append(bytes.constData(), bytes.size());
}

/// Copies whole words for as long as they are plain ASCII, and moves @p from on. @return the end of the copy.
char* copyAscii(char* to, const char*& from, const char* end)
{
    for (quint64 word; end - from >= int(sizeof word); from += sizeof word, to += sizeof word) {
        std::memcpy(&word, from, sizeof word);
        if (word & Q_UINT64_C(0x8080808080808080))
            break;
        std::memcpy(to, &word, sizeof word);
    }
    return to;
}

bool isContinuation(uchar byte)
{
    return (byte & 0xc0) == 0x80;
}

/// The bytes of the valid UTF-8 character of several bytes at @p at; 0 when there is none.
int characterLength(const uchar* at, const uchar* end)
{
    const uchar first = *at;
    if (first < 0xc2 || first > 0xf4)
        return 0;
    const int length = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    if (end - at < length)
        return 0;
    for (int i = 1; i < length; ++i) {
        if (!isContinuation(at[i]))
            return 0;
    }
    // Neither longer than need be, nor half of a character, nor beyond the last one.
    const uchar second = at[1];
    const bool isValid = (first != 0xe0 || second >= 0xa0) && (first != 0xed || second < 0xa0) &&
                         (first != 0xf0 || second >= 0x90) && (first != 0xf4 || second < 0x90);
    return isValid ? length : 0;
}

QString textOf(const char* text, int length)
{
    LineText::Bytes utf8;
    LineText::appendUtf8(utf8, text, length);
    return QString::fromUtf8(utf8.constData(), utf8.size());
}

/// Whether there is nothing in the bytes that is shown in another form.
bool isPlain(const char* text, int length)
{
    return std::all_of(text, text + length, [](char c) { return c >= ' ' && c < 0x7f; });
}

} // namespace

QString LineText::message(const QByteArray& text)
{
    return textOf(text.constData(), messageLength(text));
}

int LineText::messageLength(const QByteArray& text)
{
    const void* const zero = std::memchr(text.constData(), 0, size_t(text.size()));
    return zero ? int(static_cast<const char*>(zero) - text.constData()) : text.size();
}

QString LineText::forDebugger(Qt::HANDLE threadId, const QString& channel, const QString& message)
{
    return QLatin1Char('T') + QString::number(quintptr(threadId)) + QLatin1Char(':') + channel + QLatin1Char(':') +
           message;
}

void LineText::appendFilePrefix(Bytes& line, const QByteArray& time, const QByteArray& channel, Qt::HANDLE threadId)
{
    char digits[2 * sizeof threadId];
    const char* const end = std::to_chars(digits, digits + sizeof digits, quintptr(threadId), 16).ptr;
    append(line, time);
    line.append('-');
    append(line, channel);
    line.append('(');
    line.append(digits, int(end - digits));
    line.append("):", 2);
}

void LineText::appendUtf8(Bytes& line, const char* text, int length)
{
    const int size = line.size();
    line.resize(size + 2 * length); // a byte above 127 becomes two
    const char* const end = text + length;
    char* to = copyAscii(line.data() + size, text, end);
    while (text != end) {
        const uchar byte = uchar(*text);
        const int character =
            byte < 0x80 ? 1
                        : characterLength(reinterpret_cast<const uchar*>(text), reinterpret_cast<const uchar*>(end));
        if (character > 0) {
            to = std::copy_n(text, character, to);
            text += character;
        } else {
            *to++ = char(0xc0 | (byte >> 6));
            *to++ = char(0x80 | (byte & 0x3f));
            ++text;
        }
    }
    line.resize(int(to - line.data()));
}

int LineText::pieceLength(const char* text, int length, int limit)
{
    constexpr int mostContinuations = 3;
    if (length <= limit)
        return length;
    int piece = limit;
    while (piece > limit - mostContinuations && isContinuation(uchar(text[piece])))
        --piece;
    return piece;
}

QByteArray LineText::shownLine(const QByteArray& text)
{
    int length = text.size();
    for (const char end : {'\n', '\r'}) {
        if (length > 0 && length >= text.size() - 1 && text.at(length - 1) == end)
            --length;
    }
    if (isPlain(text.constData(), length))
        return text;
    QString line = textOf(text.constData(), length);
#ifdef Q_OS_WIN
    line.replace(QLatin1String("\r\n"), QLatin1String("\n")); // as it was before the buffer's text mode
#endif
    return shown(line).toUtf8() + text.mid(length);
}

const QByteArray& cTimeText::at(qint64 milliseconds)
{
    const qint64 second = milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0);
    if (second != m_second || m_text.isEmpty()) {
        m_second = second;
        m_text = QDateTime::fromMSecsSinceEpoch(milliseconds).toString(Qt::TextDate).toUtf8();
    }
    return m_text;
}
