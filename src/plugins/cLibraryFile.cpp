#include "plugins/cLibraryFile.h"

#include "version/Shown.h"

#include <limits>

namespace {

constexpr int BeginSize = 4096; // the headers of nearly all libraries end within these bytes
constexpr int MagicSize = 64;   // both formats begin with a header of at least so many bytes, but for ELF of 32 bits

// Where the fields of an ELF file lie, by the width of its addresses, and how many bytes they have.
struct cElfLayout
{
    int headerSize;
    int width; // of addresses and offsets
    int segmentTable;
    int sectionTable;
    int counts; // the size and number of segment headers, then of section headers; two bytes each
    int segmentHeaderSize;
    int segmentOffset;
    int segmentSize;
};
constexpr cElfLayout Elf32{52, 4, 28, 32, 42, 32, 4, 16};
constexpr cElfLayout Elf64{64, 8, 32, 40, 54, 56, 8, 32};

// The same of a PE file, counted from its signature, and of a section header.
constexpr int PeOffset = 0x3c;
constexpr int PeHeaderSize = 24;
constexpr int PeSectionCount = 6;
constexpr int PeOptionalSize = 20;
constexpr int PeSectionSize = 40;
constexpr int PeRawSize = 16;
constexpr int PeRawOffset = 20;

} // namespace

QString cLibraryFile::fault()
{
    if (!m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return QString();
    m_isRead = true;
    m_size = quint64(m_file.size());
    m_begin = m_file.read(BeginSize);
    const QByteArray magic = read(0, MagicSize);
    if (magic.startsWith("\x7f"
                         "ELF"))
        readElf();
    else if (magic.startsWith("MZ"))
        readPe();
    m_file.close();
    if (m_told <= m_size)
        return QString();
    return QStringLiteral("has %1, and its headers tell of %2").arg(counted(m_size, "byte")).arg(m_told);
}

/// @return what there is of it.
QByteArray cLibraryFile::read(quint64 offset, int size)
{
    if (offset + quint64(size) <= quint64(m_begin.size()) && offset <= quint64(m_begin.size()))
        return m_begin.mid(int(offset), size);
    if (offset > m_size || !m_file.seek(qint64(offset)))
        return QByteArray();
    return m_file.read(size);
}

/// The headers tell of @p size bytes at @p offset.
void cLibraryFile::need(quint64 offset, quint64 size)
{
    constexpr quint64 Most = std::numeric_limits<quint64>::max();
    m_told = qMax(m_told, size > Most - offset ? Most : offset + size);
}

quint64 cLibraryFile::number(const QByteArray& bytes, int offset, int size) const
{
    quint64 value = 0;
    for (int i = 0; i < size; ++i) {
        const int at = m_isBig ? offset + i : offset + size - 1 - i;
        value = value << 8 | uchar(bytes.at(at));
    }
    return value;
}

void cLibraryFile::readElf()
{
    constexpr int Class = 4, Encoding = 5; // of the fields of a word, and of the order of its bytes
    const QByteArray header = read(0, MagicSize);
    m_isLong = header.size() <= Class || header.at(Class) != 1;
    m_isBig = header.size() > Encoding && header.at(Encoding) == 2;
    const cElfLayout& layout = m_isLong ? Elf64 : Elf32;
    need(0, quint64(layout.headerSize));
    if (header.size() < layout.headerSize)
        return;
    const auto count = [&](int i) { return number(header, layout.counts + 2 * i, 2); };
    const quint64 segments = number(header, layout.segmentTable, layout.width);
    need(segments, count(0) * count(1));
    need(number(header, layout.sectionTable, layout.width), count(2) * count(3));
    readSegments(segments, int(count(0)), int(count(1)));
}

void cLibraryFile::readSegments(quint64 offset, int entrySize, int count)
{
    const cElfLayout& layout = m_isLong ? Elf64 : Elf32;
    if (entrySize != layout.segmentHeaderSize)
        return; // the system refuses it
    const QByteArray table = read(offset, entrySize * count);
    for (int at = 0; at + entrySize <= table.size(); at += entrySize) {
        if (number(table, at, 4) != 0) // the type; 0 is for what is not used
            need(number(table, at + layout.segmentOffset, layout.width),
                 number(table, at + layout.segmentSize, layout.width));
    }
}

void cLibraryFile::readPe()
{
    const QByteArray start = read(0, MagicSize);
    need(0, MagicSize);
    if (start.size() < MagicSize)
        return;
    const quint64 offset = number(start, PeOffset, 4);
    need(offset, PeHeaderSize);
    const QByteArray header = read(offset, PeHeaderSize);
    if (header.size() < PeHeaderSize || !header.startsWith(QByteArray("PE\0\0", 4)))
        return;
    const quint64 sections = offset + PeHeaderSize + number(header, PeOptionalSize, 2);
    readSections(sections, int(number(header, PeSectionCount, 2)));
}

void cLibraryFile::readSections(quint64 offset, int count)
{
    need(offset, quint64(PeSectionSize) * quint64(count));
    const QByteArray table = read(offset, PeSectionSize * count);
    for (int at = 0; at + PeSectionSize <= table.size(); at += PeSectionSize) {
        const quint64 raw = number(table, at + PeRawOffset, 4);
        if (raw != 0)
            need(raw, number(table, at + PeRawSize, 4));
    }
}
