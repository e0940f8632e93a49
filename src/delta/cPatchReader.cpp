#include "delta/cPatchReader.h"

#include <QtCore/QByteArray>
#include <QtCore/QtEndian>

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

constexpr qint64 InSize = 64 << 10;
constexpr char Mark[] = "NORVPAT1";
constexpr int MarkSize = 8;
constexpr qint64 HeadSize = MarkSize + 3 * 8;
constexpr int MostNumberBytes = 10;
constexpr qint64 MostTextBytes = 3000; // of the names in packages, the longest in the longest UTF-8
constexpr const char* StreamNames[] = {"control", "difference", "extra"};

} // namespace

cInflatingStream::cInflatingStream() : m_stream(new z_stream()), m_in(new char[InSize]) {}

cInflatingStream::~cInflatingStream()
{
    if (m_isInitialised)
        inflateEnd(m_stream.get());
}

void cInflatingStream::open(const char* name, qint64 place, qint64 length)
{
    m_name = name;
    m_place = place;
    m_left = length;
}

qint64 cInflatingStream::read(QFile& file, char* to, qint64 most)
{
    if (!m_isInitialised && inflateInit(m_stream.get()) != Z_OK)
        return fail(QStringLiteral("there is no memory to inflate the patch"));
    m_isInitialised = true;
    const uInt asked = uInt(qMin<qint64>(most, std::numeric_limits<int>::max()));
    m_stream->next_out = reinterpret_cast<Bytef*>(to);
    m_stream->avail_out = asked;
    while (m_stream->avail_out > 0 && !m_hasEnded) {
        if (m_stream->avail_in == 0 && !fill(file))
            return -1;
        const bool isAll = m_stream->avail_in == 0;
        const int answer = inflate(m_stream.get(), Z_NO_FLUSH);
        m_hasEnded = answer == Z_STREAM_END;
        if (answer == Z_BUF_ERROR && isAll)
            return fail(QStringLiteral("the patch is damaged: its %1 stream is cut off").arg(QLatin1String(m_name)));
        if (answer != Z_OK && answer != Z_BUF_ERROR && !m_hasEnded)
            return fail(
                QStringLiteral("the patch is damaged: its %1 stream cannot be inflated").arg(QLatin1String(m_name)));
    }
    return asked - m_stream->avail_out;
}

/// Reads on in the file; at the end of the stream nothing comes.
bool cInflatingStream::fill(QFile& file)
{
    const qint64 size = qMin(m_left, InSize);
    if (size > 0 && (!file.seek(m_place) || file.read(m_in.get(), size) != size)) {
        fail(QStringLiteral("the patch %1 cannot be read: %2").arg(file.fileName(), file.errorString()));
        return false;
    }
    m_place += size;
    m_left -= size;
    m_stream->next_in = reinterpret_cast<Bytef*>(m_in.get());
    m_stream->avail_in = uInt(size);
    return true;
}

bool cInflatingStream::isAtEnd(QFile& file)
{
    char more = 0;
    return read(file, &more, 1) == 0 && m_stream->avail_in == 0 && m_left == 0;
}

qint64 cInflatingStream::fail(const QString& reason)
{
    m_errorString = reason;
    return -1;
}

bool cPatchReader::open(const QString& path)
{
    m_file.setFileName(path);
    char head[HeadSize];
    if (!m_file.open(QFile::ReadOnly | QFile::Unbuffered)) {
        m_errorString = QStringLiteral("the patch %1 cannot be read: %2").arg(path, m_file.errorString());
        return false;
    }
    if (m_file.read(head, HeadSize) != HeadSize || std::memcmp(head, Mark, MarkSize) != 0)
        return damaged(QStringLiteral("it does not begin as one"));
    qint64 place = HeadSize;
    for (int i = 0; i < 3; ++i) {
        const quint64 length = qFromLittleEndian<quint64>(head + MarkSize + 8 * i);
        if (length > quint64(m_file.size() - place))
            return damaged(QStringLiteral("its %1 stream is cut off").arg(QLatin1String(StreamNames[i])));
        m_streams[i].open(StreamNames[i], place, qint64(length));
        place += qint64(length);
    }
    return place == m_file.size() || damaged(QStringLiteral("something stands behind its end"));
}

bool cPatchReader::read(Stream stream, char* to, qint64 count)
{
    if (stream == Control) {
        const qint64 held = qMin(count, m_controlSize - m_controlPlace);
        std::memcpy(to, m_control.data() + m_controlPlace, size_t(held));
        m_controlPlace += held;
        to += held;
        count -= held;
    }
    while (count > 0) {
        const qint64 came = m_streams[stream].read(m_file, to, count);
        if (came <= 0)
            return cannotRead(stream, came);
        to += came;
        count -= came;
    }
    return true;
}

bool cPatchReader::cannotRead(Stream stream, qint64 came)
{
    if (came == 0)
        return damaged(QStringLiteral("its %1 stream ends too early").arg(QLatin1String(m_streams[stream].name())));
    m_errorString = m_streams[stream].errorString();
    return false;
}

bool cPatchReader::readByte(uchar& byte)
{
    if (m_controlPlace == m_controlSize) {
        const qint64 came = m_streams[Control].read(m_file, m_control.data(), qint64(m_control.size()));
        if (came <= 0)
            return cannotRead(Control, came);
        m_controlPlace = 0;
        m_controlSize = came;
    }
    byte = uchar(m_control[size_t(m_controlPlace++)]);
    return true;
}

bool cPatchReader::readUnsigned(const char* what, quint64& number)
{
    number = 0;
    for (int i = 0; i < MostNumberBytes; ++i) {
        uchar byte = 0;
        if (!readByte(byte))
            return false;
        if (i == MostNumberBytes - 1 && byte > 1) // 64 bits are full
            break;
        number |= quint64(byte & 0x7f) << (7 * i);
        if (byte < 0x80)
            return true;
    }
    return damaged(QStringLiteral("%1 is no number").arg(QLatin1String(what)));
}

bool cPatchReader::readNumber(const char* what, qint64 most, qint64& number)
{
    quint64 read = 0;
    if (!readUnsigned(what, read))
        return false;
    if (read > quint64(most))
        return damaged(
            QStringLiteral("%1 is %2, where at most %3 is possible").arg(QLatin1String(what)).arg(read).arg(most));
    number = qint64(read);
    return true;
}

bool cPatchReader::readSignedNumber(qint64& number)
{
    quint64 read = 0;
    if (!readUnsigned("a skip", read))
        return false;
    number = qint64(read >> 1) ^ -qint64(read & 1);
    return true;
}

bool cPatchReader::readText(QString& text)
{
    qint64 length = 0;
    QByteArray bytes;
    if (!readNumber("the length of a path", MostTextBytes, length) || !readBytes(int(length), bytes))
        return false;
    text = QString::fromUtf8(bytes);
    return true;
}

bool cPatchReader::readBytes(int count, QByteArray& bytes)
{
    bytes = QByteArray(count, Qt::Uninitialized);
    return read(Control, bytes.data(), count);
}

bool cPatchReader::isAtEnd()
{
    for (cInflatingStream& stream : m_streams) {
        const bool isHeld = &stream == &m_streams[Control] && m_controlPlace < m_controlSize;
        if (isHeld || !stream.isAtEnd(m_file))
            return stream.errorString().isEmpty()
                       ? damaged(QStringLiteral("something is left of its %1 stream").arg(QLatin1String(stream.name())))
                       : cannotRead(Stream(&stream - m_streams), -1);
    }
    return true;
}

bool cPatchReader::damaged(const QString& how)
{
    m_errorString = QStringLiteral("the patch is damaged: %1").arg(how);
    return false;
}
