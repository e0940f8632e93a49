#include "log/LineText.h"

#include <QtCore/QDateTime>

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

} // namespace

QString LineText::message(const QByteArray& text)
{
    return QString::fromLatin1(text.constData());
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

void LineText::appendLatin1(Bytes& line, const char* text, int length)
{
    const int size = line.size();
    line.resize(size + 2 * length); // a byte above 127 becomes two
    const char* const end = text + length;
    char* to = copyAscii(line.data() + size, text, end);
    for (; text != end; ++text) {
        const uchar byte = uchar(*text);
        if (byte < 0x80) {
            *to++ = char(byte);
        } else {
            *to++ = char(0xc0 | (byte >> 6));
            *to++ = char(0x80 | (byte & 0x3f));
        }
    }
    line.resize(int(to - line.data()));
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
