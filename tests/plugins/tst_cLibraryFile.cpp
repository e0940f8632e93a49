#include "plugins/cLibraryFile.h"

#include <Rows.h>

#include <QtCore/QTemporaryDir>

#include <initializer_list>

using Numbers = std::initializer_list<std::pair<int, quint64>>; // offset and value

/// A file of @p size bytes that begins with @p magic and has numbers of @p width bytes in it.
static QByteArray made(int size, const QByteArray& magic, int width, bool isBig, Numbers wide, Numbers narrow)
{
    QByteArray file = magic.leftJustified(size, '\0');
    const auto put = [&](int offset, quint64 value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            file[offset + (isBig ? bytes - 1 - i : i)] = char(value >> 8 * i);
    };
    for (const auto& [offset, value] : wide)
        put(offset, value, width);
    for (const auto& [offset, value] : narrow)
        put(offset, value, 2);
    return file;
}

class tst_cLibraryFile : public QObject
{
    Q_OBJECT

private slots:
    void fault_data()
    {
        const Rows<QByteArray, QString> row("file", "fault");
        const QByteArray elf("\x7f"
                             "ELF");
        row("empty", "", "");
        row("no library", "#!/bin/sh", "");
        row("ELF, its header alone", elf + "\2\1", "has 6 bytes, and its headers tell of 64");
        row("ELF of 32 bits, its header alone", elf + "\1\1", "has 6 bytes, and its headers tell of 52");
        const auto elf64 = [&](quint64 offset, quint64 size, quint64 sections, quint64 type = 1, int bytes = 200) {
            return made(bytes, elf + "\2\1", 8, false, {{32, 64}, {40, sections}, {64, type}, {72, offset}, {96, size}},
                        {{54, 56}, {56, 1}, {58, 64}, {60, 1}});
        };
        row("ELF, whole", elf64(0, 200, 136), "");
        row("ELF, a segment", elf64(8, 200, 136), "has 200 bytes, and its headers tell of 208");
        row("ELF, a segment that counts for nothing", elf64(8, 200, 136, 0), "");
        row("ELF, the sections", elf64(0, 200, 137), "has 200 bytes, and its headers tell of 201");
        row("ELF, the segment headers", elf64(0, 0, 0, 1, 110), "has 110 bytes, and its headers tell of 120");
        const QString most = "has 200 bytes, and its headers tell of 18446744073709551615";
        row("ELF, beyond what can be counted", elf64(~0ull, 200, 136), most);
        row("ELF, sections beyond what can be counted", elf64(0, 200, ~0ull), most);
        row("ELF of 32 bits, the other byte order",
            made(100, elf + "\1\2", 4, true, {{28, 52}, {32, 0}, {52, 1}, {56, 10}, {68, 91}}, {{42, 32}, {44, 1}}),
            "has 100 bytes, and its headers tell of 101");
        const auto pe = [](quint64 raw, quint64 size, int bytes = 200) {
            QByteArray file = made(200, "MZ", 4, false, {{0x3c, 64}, {64, 0x4550}, {128 + 16, size}, {128 + 20, raw}},
                                   {{70, 1}, {84, 40}});
            return file.left(bytes);
        };
        row("PE, whole", pe(100, 100), "");
        row("PE, a section", pe(101, 100), "has 200 bytes, and its headers tell of 201");
        row("PE, a section without data", pe(0, 1000), "");
        row("PE, the section headers", pe(0, 0, 150), "has 150 bytes, and its headers tell of 168");
        row("PE, its header", pe(0, 0, 80), "has 80 bytes, and its headers tell of 88");
        row("PE, the old header", "MZ", "has 2 bytes, and its headers tell of 64");
    }
    void fault()
    {
        QFETCH(QByteArray, file);
        const QTemporaryDir folder;
        QFile library(folder.filePath("it"));
        QVERIFY(library.open(QFile::WriteOnly));
        QCOMPARE(library.write(file), file.size());
        library.close();
        QTEST(cLibraryFile(library.fileName()).fault(), "fault");
    }
    /// A real one is whole, and its parts are not. What a linker has put behind all sections is nobody's to miss.
    void realLibrary()
    {
        QFile library(REAL_LIBRARY);
        QVERIFY(library.open(QFile::ReadOnly));
        const QByteArray bytes = library.readAll();
        QVERIFY2(cLibraryFile(library.fileName()).fault().isEmpty(), qPrintable(cLibraryFile(REAL_LIBRARY).fault()));
        const QTemporaryDir folder;
        QFile copy(folder.filePath("it"));
        QVERIFY(copy.open(QFile::ReadWrite));
        QCOMPARE(copy.write(bytes), bytes.size());
        for (int size = bytes.size() / 2; size > 4; size -= 1 + size / 50) {
            QVERIFY(copy.resize(size));
            QVERIFY2(!cLibraryFile(copy.fileName()).fault().isEmpty(), QByteArray::number(size));
        }
    }
};

QTEST_APPLESS_MAIN(tst_cLibraryFile)
#include "tst_cLibraryFile.moc"
