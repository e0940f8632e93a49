#include "plugins/cLibraryFile.h"

#include <Files.h>
#include <Rows.h>

#include <vector>

using Numbers = std::vector<std::pair<int, quint64>>; // offset and value

static const QByteArray Elf("\177ELF");

static void put(QByteArray& file, int width, bool isBig, const Numbers& numbers)
{
    for (const auto& [offset, value] : numbers) {
        for (int i = 0; i < width; ++i)
            file[offset + (isBig ? width - 1 - i : i)] = char(value >> 8 * i);
    }
}

/// A file of @p size bytes that begins with @p magic and has numbers of @p width bytes in it.
static QByteArray made(int size, const QByteArray& magic, int width, bool isBig, const Numbers& wide,
                       const Numbers& narrow)
{
    QByteArray file = magic.leftJustified(size, '\0');
    put(file, width, isBig, wide);
    put(file, 2, isBig, narrow);
    return file;
}

class tst_cLibraryFile : public QObject
{
    Q_OBJECT

private slots:
    void fault_data()
    {
        const Rows<QByteArray, QString> row("file", "fault");
        row("empty", "", "");
        row("no library", "#!/bin/sh", "");
        row("ELF, its header alone", Elf + "\2\1", "has 6 bytes, and its headers tell of 64");
        row("ELF of 32 bits, its header alone", Elf + "\1\1", "has 6 bytes, and its headers tell of 52");
        const auto elf64 = [&](quint64 offset, quint64 size, quint64 sections, quint64 type = 1, int bytes = 200) {
            return made(bytes, Elf + "\2\1", 8, false, {{32, 64}, {40, sections}, {64, type}, {72, offset}, {96, size}},
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
            made(100, Elf + "\1\2", 4, true, {{28, 52}, {32, 0}, {52, 1}, {56, 10}, {68, 91}}, {{42, 32}, {44, 1}}),
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
        writeFile(folder.filePath("it"), file);
        QTEST(cLibraryFile(folder.filePath("it")).fault(), "fault");
    }
    void qtMajor_data()
    {
        const Rows<QByteArray, int> row("file", "major");
        row("real", readFile(REAL_LIBRARY), QT_VERSION_MAJOR);
        row("real, of another Qt", readFile(OTHER_QT_LIBRARY), 11 - QT_VERSION_MAJOR);
        // Needs the libraries whose names begin at 1 and at 50 of @p names.
        const auto elf = [](const QByteArray& names, Numbers more = {}) {
            const Numbers segments{{32, 64}, {64, 1}, {80, 0x1000}, {96, 400}, {120, 2}, {128, 176}, {152, 64}};
            QByteArray file = made(400, Elf + "\2\1", 8, false, segments, {{54, 56}, {56, 2}});
            put(file, 8, false, {{176, 1}, {184, 1}, {192, 5}, {200, 0x1000 + 300}, {208, 1}, {216, 50}});
            put(file, 8, false, more);
            return file.replace(301, names.size(), names);
        };
        const QByteArray majors = "libQt6Core.so.6=6 libQt53DCore.so.5=5 Qt7Gui.dll=7 libqt6keychain.so=6 "
                                  "libQtCore.so.4=0 libQt3Support.so.4=0 libm.so.6=0 qt6=0 lib=0";
        for (const QByteArray& one : majors.split(' '))
            row(one, elf(one.split('=').first()), one.split('=').last().toInt());
        row("of two Qts that of this program",
            elf(QByteArray("libQt5Gui.so.5").leftJustified(49, 0) + "libQt6Gui.so.6"), QT_VERSION_MAJOR);
        const QByteArray name = "libQt6Core.so.6";
        row("cut short", elf(name).left(399), 0);
        row("the list ends before", elf(name, {{176, 0}}), 0);
        row("the list lies nowhere", elf(name, {{128, 1ull << 63}}), 0);
        row("a list of 2^63 entries", elf(name, {{152, 1ull << 63}}), 0);
        row("names lie nowhere", elf(name, {{200, 0xffffffffffffffff}}), 0);
        row("names have no place", elf(name, {{192, 6}}), 0);
        row("a name beyond all names", elf(name, {{184, 1ull << 63}}), 0);
        row("a name that wraps around", elf(name, {{184, ~0ull - 298}}), 0);
        row("a name without end", elf(name + QByteArray(84, 'x')), 6);
        row("it is loaded beyond all addresses", elf(name, {{80, ~0ull - 100}}), 0);
        const Numbers segments{{28, 52}, {52, 1}, {60, 0x1000}, {68, 400}, {84, 2}, {88, 200}, {100, 24}};
        QByteArray other = made(400, Elf + "\1\2", 4, true, segments, {{42, 32}, {44, 2}});
        put(other, 4, true, {{200, 5}, {204, 0x1000 + 300}, {208, 1}, {212, 1}});
        row("ELF of 32 bits, the other byte order", other.replace(301, name.size(), name), 6);

        const auto pe = [](int magic, Numbers more) {
            QByteArray file = made(1200, "MZ", 4, false,
                                   {{0x3c, 64}, {64, 0x4550}, {340, 0x1000}, {344, 800}, {348, 400}, {412, 0x1064}},
                                   {{70, 1}, {84, 240}, {88, magic}});
            put(file, 4, false, more);
            return file.replace(500, 11, "Qt6Core.dll");
        };
        constexpr int Short = 0x10b, Long = 0x20b;
        row("PE", pe(Long, {{196, 16}, {208, 0x1000}}), 6);
        row("PE, of 32 bits", pe(Short, {{180, 16}, {192, 0x1000}}), 6);
        row("PE, loaded later", pe(Long, {{196, 16}, {304, 0x1090}, {548, 0x1064}}), 6);
        row("PE, no directories", pe(Long, {{208, 0x1000}}), 0);
        row("PE, the list lies nowhere", pe(Long, {{196, 16}, {208, 0xffffffff}}), 0);
        row("PE, a name that lies nowhere", pe(Long, {{196, 16}, {208, 0x1000}, {412, 0xffffffff}}), 0);
        row("PE, the list ends before", pe(Long, {{196, 16}, {208, 0x1000}, {412, 0}}), 0);
        QByteArray endless = pe(Long, {{196, ~0u}, {208, 0x1000}});
        row("PE, a list without end", endless.replace(420, 80, QByteArray(80, 1)).replace(512, 688, QByteArray(688, 1)),
            6);
    }
    void qtMajor()
    {
        QFETCH(QByteArray, file);
        const cLibraryFile library = cLibraryFile::ofBytes(file, "it.so");
        QTEST(library.qtMajor(), "major");
        QCOMPARE(library.refusal().isEmpty(), library.qtMajor() == QT_VERSION_MAJOR || library.qtMajor() == 0);
    }
    /// A real one is whole, and its parts are not. What a linker has put behind all sections is nobody's to miss.
    void realLibrary()
    {
        QCOMPARE(cLibraryFile(REAL_LIBRARY).fault(), QString());
        const QByteArray bytes = readFile(REAL_LIBRARY);
        const QTemporaryDir folder;
        for (int size = bytes.size() / 2; size > 4; size -= 1 + size / 50) {
            writeFile(folder.filePath("it"), bytes.left(size));
            QVERIFY2(!cLibraryFile(folder.filePath("it")).fault().isEmpty(), QByteArray::number(size));
        }
    }
};

QTEST_APPLESS_MAIN(tst_cLibraryFile)
#include "tst_cLibraryFile.moc"
