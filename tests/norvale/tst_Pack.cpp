#include "MachineProgram.h"
#include "NotHere.h"
#include "ToolFixture.h"

#include "install/cPackageCheck.h"
#include "zip/cZipDirectory.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

class tst_Pack : public QObject
{
    Q_OBJECT

    ToolFixture m_tool;
    QMap<QString, QByteArray> m_files{{"data/a.txt", "text"},
                                      {"data/noise", ""},
                                      {"empty", ""},
                                      {"zeros", QByteArray(3000000, '\0')},
                                      {"setup", "#!/bin/sh\n"}};

private slots:
    void initTestCase()
    {
        for (int i = 0; i < 100000; ++i)
            m_files["data/noise"].append(char(i * 7919 >> 5));
    }

    void init() { m_tool.begin(); }

    void givesTheSameBytesEverywhere()
    {
        const QString folder = m_tool.makePlugin("A", "1.2.3", QString(), m_files);
        QCOMPARE(m_tool.run({"pack", folder, "-o", "one"}).output, QString("one/A-1.02.003.zip\n"));

        // another machine: made in another order, at another time, with other permissions and another time zone
        for (const char* const name : {"zeros", "setup", "empty", "data/noise", "data/a.txt"}) {
            QFile file(m_tool.path(folder + "/" + name));
            file.remove();
            m_tool.write(folder + "/" + name, m_files[name]);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(QDateTime(QDate(2001, 2, 3), QTime(4, 5)), QFileDevice::FileModificationTime));
            QVERIFY(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        }
        QCOMPARE(m_tool.run({"pack", folder, "-o", "two"}, {{"TZ", "Asia/Tokyo"}, {"LC_ALL", "de_DE"}}).code, 0);
        QCOMPARE(m_tool.read("one/A-1.02.003.zip"), m_tool.read("two/A-1.02.003.zip"));
    }

    void writesAProjectToBeginWith_data()
    {
        const Rows<QString, int, QString> row("words", "code", "said");
        row("a plugin", "plugin Weather", 0, "Weather/Weather.cpp\n");
        row("a host", "host Weather a/b", 0, "a/b/tests/tst_Weather.cpp\n");
        row("a window in an empty folder", "host Weather empty --window", 0, "empty/cMainWindow.h\n");
        row("over other files", "plugin Weather full", 8, "full is there, and not an empty folder");
        row("over a file", "plugin Weather full/file", 8, "full/file is there");
        row("below a file", "plugin Weather full/file/x", 4, "full/file is no folder");
        row("a digit in front", "plugin 1st", 2, "\"1st\" cannot be the name");
        row("a dash", "host a-b", 2, "\"a-b\" cannot be the name");
        row("one letter", "plugin A", 2, "\"A\" cannot be the name");
        row("a device", "plugin nul", 2, "\"nul\" cannot be the name");
        row("a target's name", "plugin Test", 2, "Norvale or CMake has it already");
        row("a word more", "plugin Weather a b", 2, "\"b\" is not understood");
        row("nothing at all", "plugin", 2, "NAME is required");
    }
    void writesAProjectToBeginWith()
    {
        const auto [words, code, said] = cells<QString, int, QString>("words", "code", "said");
        m_tool.write("full/file", "");
        QDir().mkpath(m_tool.path("empty"));
        const Tree before = m_tool.tree();
        const Ended ended = m_tool.run("new " + words);
        QCOMPARE(ended.code, code);
        QVERIFY2((ended.output + ended.reasons).contains(said), qPrintable(ended.output + ended.reasons));
        QStringList files;
        for (const auto& [name, content] : without(m_tool.tree(), before)) {
            if (!name.endsWith('/'))
                files.append(name);
            QVERIFY2(!(name + content).contains(QRegularExpression("New(Plugin|Host)")), qPrintable(name));
        }
        QStringList told = ended.output.section("\n\n", 0, 0).split('\n', Qt::SkipEmptyParts);
        told.sort();
        QCOMPARE(told, files);
    }

#ifdef FILE_FAULTS
    // Whatever call is the first that the disk refuses: there is all of the project or nothing.
    void writesAProjectWholeOrNotAtAll()
    {
        for (int call = 1; call < 1000; call += 7) {
            const Variables faults = faultsBelow(m_tool.path("disk"), QString("ENOSPC %1").arg(call));
            const Ended ended = m_tool.run({"new", "plugin", "Weather", "disk/Weather"}, faults);
            if (ended.code == 0)
                return;
            QCOMPARE(ended.code, 4);
            QVERIFY2(m_tool.tree("disk").empty(), qPrintable(QString::number(call)));
        }
        QFAIL("the disk has refused nothing");
    }
#endif

    // An installation inflates what it lists; the zeros are too dense for that, and are stored.
    void holdsWhatTheFolderHolds()
    {
        const QString folder = m_tool.makePlugin("A", "1.0.0", QString(), m_files);
        QCOMPARE(m_tool.run({"pack", folder, "--exclude", "*.txt"}).code, 0);
        QByteArray bytes = m_tool.read("A-1.00.000.zip");
        cZipArchive archive(bytes);
        QStringList names;
        for (const QSharedPointer<cZipEntry>& entry : archive.entries())
            names.append(entry->name());
        QCOMPARE(names, QStringList({Platform::library("A"), "Manifest.xml", "data/noise", "setup", "zeros"}));
        QCOMPARE(archive.entry("data/noise")->content(), m_files["data/noise"]);
        QCOMPARE(archive.entry("Manifest.xml")->content(), ToolFixture::manifest("A", "1.0.0"));
        QCOMPARE(archive.entry("zeros")->compressedContent(), m_files["zeros"]);

        QBuffer buffer(&bytes);
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        cZipDirectory directory;
        QVERIFY(directory.read(&buffer));
        QCOMPARE(directory.count(), 6);
        for (int i = 0; i < directory.count(); ++i) {
            const cZipRecord record = directory.record(i);
            QVERIFY(!(record.flags & cZipRecord::HasDataDescriptor));
            QCOMPARE(record.unixMode(), record.name == "setup" ? 0100755u : 0100644u);
        }
        QVERIFY(cPackageCheck(cPackageCheck::Limits()).check(bytes));
        QCOMPARE(MachineProgram::execute("unzip", {"-tqq", m_tool.path("A-1.00.000.zip")}), 0);
    }

    void refuses_data()
    {
        const Rows<QString, QString> row("shell", "said");
        row("a link to a file", "ln -s /etc/passwd p", "[folder-link]");
        row("a link to a folder", "ln -s .. up", "[folder-link]");
        row("a link to nothing", "ln -s nowhere n", "[folder-link]");
        if (Platform::hasUnixFiles()) // no other name can have one
            row("a backslash", "touch 'a\\b'", "[folder-bad-name]");
        row("a pipe", "mkfifo pipe", "[folder-special]");
        row("a line end", "touch 'a\nb'", "a\\nb: error");
        row("no ASCII", "touch 'gr\u00fcn'", "[folder-bad-name]");
        row("a device", "mkdir sub && touch sub/nul.txt", "[folder-bad-name]");
        row("case alone", "mkdir sub && touch sub/a sub/A", "[folder-name-clash]");
        row("no manifest", "rm Manifest.xml", "[folder-no-manifest]");
        row("lower case manifest", "mv Manifest.xml manifest.xml", "[folder-no-manifest]");
        row("manifest of a path", "sed -i 's/ name=\"A/ name=\"..\\/A/' Manifest.xml", "[manifest-bad-name]");
        row("manifest not XML", "echo '<' >>Manifest.xml", "[xml-malformed]");
        row("no library", "rm " + Platform::library("A"), "[manifest-library-missing]");
        row("more than is installed", "truncate -s 3G big", "[package-size]");
    }
    void refuses()
    {
        SKIP_WHERE_LISTED();
        const auto [shell, said] = cells<QString, QString>("shell", "said");
        const QString folder = m_tool.makePlugin("A", "1.0.0");
        QCOMPARE(MachineProgram::execute("sh", {"-ec", shell}, m_tool.path(folder)), 0);
        const Ended ended = m_tool.run({"pack", folder});
        QCOMPARE(ended.code, 1);
        QVERIFY2(ended.reasons.contains(said), qPrintable(ended.reasons));
        QVERIFY(!QFile::exists(m_tool.path("A-1.00.000.zip")));
        if (said.startsWith("[folder") && said != "[folder-no-manifest]")
            QVERIFY(m_tool.run({"lint", folder}).output.contains(said));
    }

    // What an installation passes over.
    void looksAtSums()
    {
        m_tool.makePackage("A", "1.0.0");
        QByteArray bytes = m_tool.read("A-1.00.000.zip");
        const int record = bytes.indexOf("PK\1\2");
        bytes[record + 16] = char(bytes[record + 16] ^ 1);
        m_tool.write("A-1.00.000.zip", bytes);
        const Ended ended = m_tool.run("lint A-1.00.000.zip");
        QCOMPARE(ended.code, 0);
        for (const QString& text : {Platform::library("A") + ": warning", QString("[package-crc]")})
            QVERIFY2(ended.output.contains(text), qPrintable(ended.output));
    }

    void leavesNothingBehindWhatItCannotWrite()
    {
        const QString folder = m_tool.makePlugin("A", "1.0.0");
        m_tool.write("file", "");
        QCOMPARE(m_tool.run({"pack", folder, "-o", "file"}).code, 4);
        QCOMPARE(m_tool.run({"pack", folder, "-o", folder + "/out"}).code, 2);
        QCOMPARE(m_tool.tree(folder).size(), size_t(2));
    }

    void drawsRepositoriesAndPictures()
    {
        m_tool.makePackage("A", "1.0.0", "<dependencies><dependency>B \"x\"</dependency></dependencies>");
        m_tool.write("repository.xml",
                     "<r><feature name='F\\\xe2\x80\xae' version='1.0'><dependencies><feature name='G'/></dependencies>"
                     "<plugins><plugin name='A' version='1.0.0'/></plugins></feature></r>");
        const Ended dot = m_tool.run("graph repository.xml");
        QCOMPARE(dot.code, 0);
        QVERIFY(dot.output.contains("\"plugin A\" -> \"plugin B \\\"x\\\"\""));
        QVERIFY(dot.output.contains("\"feature F\\\\\\\\u{202e}\" -> \"feature G\" [style=dashed"));
        const QStringList words{"graph", ".", "-o", "x.svg"};
        // On Windows it leads to libraries, Qt's among them, too.
        const QString path = Platform::hasUnixFiles() ? m_tool.path() : qEnvironmentVariable("PATH");
        const Ended none = m_tool.run(words, {{"PATH", path}});
        QCOMPARE(none.code, 6);
        QVERIFY(none.reasons.contains("Graphviz"));
        QVERIFY(!QFile::exists(m_tool.path("x.svg")));
        if (!MachineProgram::exists("dot"))
            QSKIP("Graphviz is not here");
        const Variables withDot{{"PATH", MachineProgram::pathWith("dot", m_tool.path("bin"))}};
        QCOMPARE(m_tool.run(words, withDot).code, 0);
        QVERIFY(m_tool.read("x.svg").contains("</svg>"));
        QCOMPARE(m_tool.run({"graph", ".", "-o", "x.PNG"}, withDot).code, 0);
        QVERIFY(m_tool.read("x.PNG").startsWith("\x89PNG"));
    }
};

QTEST_GUILESS_MAIN(tst_Pack)
#include "tst_Pack.moc"
