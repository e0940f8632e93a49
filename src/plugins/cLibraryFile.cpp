#include "plugins/cLibraryFile.h"

#include "plugins/cOpenFile.h"
#include "version/Shown.h"

#include <QtCore/QFileInfo>
#include <QtCore/QtEndian>

#include <limits>

namespace {

constexpr int WindowSize = 4096; // the headers of nearly all libraries end within so many bytes
constexpr int MagicSize = 64;    // both formats begin with a header of at least so many bytes, but for ELF of 32 bits

constexpr int MostEntries = 2000; // a longer list of needed libraries is not read to its end: no library has such
constexpr int QtNameSize = 8;     // of a library's name that tells whether it is one of Qt's

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
    int segmentAddress;
    int segmentSize;
};
constexpr cElfLayout Elf32{52, 4, 28, 32, 42, 32, 4, 8, 16};
constexpr cElfLayout Elf64{64, 8, 32, 40, 54, 56, 8, 16, 32};

// Types of segments; those of 0 are not used. And tags of the entries of the dynamic one.
constexpr quint64 LoadedSegment = 1, DynamicSegment = 2;
constexpr quint64 EndTag = 0, NeededTag = 1, NamesTag = 5;

// The same of a PE file, counted from its signature, of its optional header, and of a section header.
constexpr int PeOffset = 0x3c;
constexpr int PeHeaderSize = 24;
constexpr int PeSectionCount = 6;
constexpr int PeOptionalSize = 20;
constexpr quint64 PeLongMagic = 0x20b;
constexpr int PeDirectories = 96, PeLongDirectories = 112; // their number stands before them
constexpr int PeDirectorySize = 8, PeImports = 1, PeDelayedImports = 13;
constexpr int PeImportSize = 20, PeImportName = 12;
constexpr int PeDelayedSize = 32, PeDelayedName = 4;
constexpr int PeSectionSize = 40;
constexpr int PeSectionAddress = 12;
constexpr int PeRawSize = 16;
constexpr int PeRawOffset = 20;

/// The major version of the Qt that the library @p name belongs to, such as libQt6Core.so.6 or Qt5Core.dll; 0 when it
/// is none of Qt's. Before Qt 5 names have no number.
int qtMajorOf(const QByteArray& name)
{
    const QByteArray plain = name.startsWith("lib") ? name.mid(3) : name;
    if (plain.size() < 4 || qstrnicmp(plain.constData(), "qt", 2) != 0)
        return 0;
    const int major = plain.at(2) - '0'; // one digit: libQt53DCore is of Qt 5
    return major >= 5 && major <= 9 ? major : 0;
}

} // namespace

cLibraryFile::cLibraryFile(const QString& path) : m_path(path)
{
    cOpenFile file(path);
    m_exists = file.isOpen() || QFileInfo::exists(path);
    if (!file.isOpen())
        return;
    m_file = &file;
    m_size = file.size();
    m_begin.bytes = file.read(0, WindowSize);
    readHeaders();
    m_file = nullptr;
}

cLibraryFile::cLibraryFile(const QByteArray& bytes, const QString& name)
    : m_path(name), m_exists(true), m_size(quint64(bytes.size())), m_begin{0, bytes}
{
    readHeaders();
}

QString cLibraryFile::fault() const
{
    if (isWhole())
        return QString();
    return QStringLiteral("has %1, and its headers tell of %2").arg(counted(m_size, "byte")).arg(m_told);
}

QString cLibraryFile::refusal() const
{
    if (m_qtMajor == 0 || m_qtMajor == QT_VERSION_MAJOR)
        return QString();
    const QString text = QStringLiteral(
        "its library %1 is built with Qt %2; this suite runs on Qt %3, for which it has to be built anew");
    return text.arg(m_path).arg(m_qtMajor).arg(QT_VERSION_MAJOR);
}

/// @return what there is of it.
QByteArray cLibraryFile::read(quint64 offset, int size)
{
    if (offset >= m_size)
        return QByteArray();
    const int there = int(qMin(quint64(size), m_size - offset));
    if (m_begin.has(offset, there))
        return m_begin.part(offset, there);
    if (!m_window.has(offset, there) && m_file)
        m_window = {offset, m_file->read(offset, qMax(there, WindowSize))};
    return m_window.has(offset, there) ? m_window.part(offset, there) : QByteArray();
}

/// The headers tell of @p size bytes at @p offset.
void cLibraryFile::need(quint64 offset, quint64 size)
{
    constexpr quint64 Most = std::numeric_limits<quint64>::max();
    m_told = qMax(m_told, size > Most - offset ? Most : offset + size);
}

quint64 cLibraryFile::number(const QByteArray& bytes, int offset, int size) const
{
    Q_ASSERT(offset >= 0 && offset + size <= bytes.size());
    const char* const at = bytes.constData() + offset;
    if (size == 8)
        return m_isBig ? qFromBigEndian<quint64>(at) : qFromLittleEndian<quint64>(at);
    if (size == 4)
        return m_isBig ? qFromBigEndian<quint32>(at) : qFromLittleEndian<quint32>(at);
    return m_isBig ? qFromBigEndian<quint16>(at) : qFromLittleEndian<quint16>(at);
}

/// Where in the file that lies which the loaded library has at @p address; the file's end when it does not lie there.
/// The file must be whole.
quint64 cLibraryFile::offsetOf(quint64 address) const
{
    for (const Part& part : m_parts) {
        if (address >= part.address && address - part.address < part.size)
            return part.offset + (address - part.address);
    }
    return m_size;
}

void cLibraryFile::readHeaders()
{
    const QByteArray magic = read(0, MagicSize);
    if (magic.startsWith("\x7f"
                         "ELF"))
        readElf();
    else if (magic.startsWith("MZ"))
        readPe();
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
    if (isWhole())
        readDynamic();
}

void cLibraryFile::readSegments(quint64 offset, int entrySize, int count)
{
    const cElfLayout& layout = m_isLong ? Elf64 : Elf32;
    if (entrySize != layout.segmentHeaderSize)
        return; // the system refuses it
    const QByteArray table = read(offset, entrySize * count);
    const auto field = [&](int at) { return number(table, at, layout.width); };
    for (int at = 0; at + entrySize <= table.size(); at += entrySize) {
        const quint64 type = number(table, at, 4);
        const Part part{field(at + layout.segmentAddress), field(at + layout.segmentOffset),
                        field(at + layout.segmentSize)};
        if (type != 0)
            need(part.offset, part.size);
        if (type == LoadedSegment)
            m_parts.append(part);
        else if (type == DynamicSegment)
            m_dynamic = part;
    }
}

void cLibraryFile::readDynamic()
{
    const int width = m_isLong ? Elf64.width : Elf32.width;
    const int entrySize = 2 * width;
    const int size = int(qMin(m_dynamic.size, quint64(MostEntries * entrySize)));
    const QByteArray entries = read(m_dynamic.offset, size);
    quint64 begin = m_size; // of all names
    QVector<quint64> names;
    for (int at = 0; at + entrySize <= entries.size(); at += entrySize) {
        const quint64 tag = number(entries, at, width);
        const quint64 value = number(entries, at + width, width);
        if (tag == EndTag)
            break;
        if (tag == NamesTag)
            begin = offsetOf(value);
        else if (tag == NeededTag)
            names.append(value);
    }
    for (quint64& name : names)
        name = begin + qMin(name, m_size - begin);
    findQt(names);
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
    const int optionalSize = int(number(header, PeOptionalSize, 2));
    readSections(offset + PeHeaderSize + quint64(optionalSize), int(number(header, PeSectionCount, 2)));
    if (isWhole())
        readDirectories(offset + PeHeaderSize, optionalSize);
}

void cLibraryFile::readSections(quint64 offset, int count)
{
    need(offset, quint64(PeSectionSize) * quint64(count));
    const QByteArray table = read(offset, PeSectionSize * count);
    for (int at = 0; at + PeSectionSize <= table.size(); at += PeSectionSize) {
        const Part part{number(table, at + PeSectionAddress, 4), number(table, at + PeRawOffset, 4),
                        number(table, at + PeRawSize, 4)};
        if (part.offset == 0)
            continue; // nothing of it is in the file
        need(part.offset, part.size);
        m_parts.append(part);
    }
}

/// Reads the directories of the optional header, which has @p size bytes at @p offset.
void cLibraryFile::readDirectories(quint64 offset, int size)
{
    const QByteArray header = read(offset, size);
    if (header.size() < 2)
        return;
    const int begin = number(header, 0, 2) == PeLongMagic ? PeLongDirectories : PeDirectories;
    if (header.size() < begin)
        return;
    const quint64 count = number(header, begin - 4, 4);
    const auto addressOf = [&](int directory) {
        const int at = begin + directory * PeDirectorySize;
        const bool isThere = quint64(directory) < count && at + PeDirectorySize <= header.size();
        return isThere ? number(header, at, 4) : 0;
    };
    QVector<quint64> names;
    addImports(addressOf(PeImports), PeImportSize, PeImportName, names);
    addImports(addressOf(PeDelayedImports), PeDelayedSize, PeDelayedName, names);
    findQt(names);
}

/// Adds where the names of the libraries lie that the list at @p address has, the last entry of which names none.
void cLibraryFile::addImports(quint64 address, int entrySize, int nameField, QVector<quint64>& names)
{
    if (address == 0)
        return;
    quint64 offset = offsetOf(address);
    for (int i = 0; i < MostEntries; ++i, offset += quint64(entrySize)) {
        const QByteArray entry = read(offset, entrySize);
        const quint64 name = entry.size() == entrySize ? number(entry, nameField, 4) : 0;
        if (name == 0)
            return;
        names.append(offsetOf(name));
    }
}

/// Takes the names of the needed libraries, which lie there in the file.
void cLibraryFile::findQt(const QVector<quint64>& names)
{
    for (const quint64 offset : names) {
        const QByteArray name = read(offset, QtNameSize);
        const int major = qtMajorOf(QByteArray(name.constData())); // up to its zero
        if (major != 0 && m_qtMajor != QT_VERSION_MAJOR)
            m_qtMajor = major;
        if (m_qtMajor == QT_VERSION_MAJOR)
            return;
    }
}
