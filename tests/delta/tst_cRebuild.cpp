#include "MachineProgram.h"
#include "ToolFixture.h"

#include "delta/cRebuild.h"

#include <QtCore/QBuffer>
#include <QtCore/QRandomGenerator>

/// What happens to a file. False where it cannot.
using Change = bool (*)(const QString& path);
Q_DECLARE_METATYPE(Change)

/// Packages of several programs, rebuilt from an older plugin's files with patches that tests/support/patches.py writes
/// by the description of their form alone.
class tst_cRebuild : public QObject
{
    Q_OBJECT

    ToolFixture m_tool;
    QString m_old;

private slots:
    void initTestCase()
    {
        m_tool.begin();
        QRandomGenerator numbers(1);
        QByteArray library;
        for (int i = 0; i < 4000; ++i)
            library.append(char(numbers.bounded(256)));
        while (library.size() < 600000)
            library.append("call " + QByteArray::number(numbers.bounded(9000)) + '\n');
        library.truncate(600000);
        m_old = m_tool.path(m_tool.makePlugin("A", "1.0", "", {{"bin/code", library}, {"empty", ""}, {"gone", "x"}}));
        for (int i = 5; i < library.size(); i += 4999)
            library[i] = char(library[i] + 4);
        library.insert(300000, "what is new").remove(400000, 50000).append(library.left(60000));
        m_tool.makePlugin("A", "1.1", "", {{"bin/code", library}, {"empty", ""}, {"added/file", "y"}});
        python("zip", "A-1.01.000", "whole.zip");
        python("make", "A-1.00.000", "whole.zip", "whole.delta");
        for (const QString& file : QStringList{"small-old/Manifest.xml", "small-new/Manifest.xml"})
            m_tool.write(file, ToolFixture::manifest("A", file.startsWith("small-o") ? "1.0" : "1.1"));
        python("zip", "small-new", "small.zip");
        python("make", "small-old", "small.zip", "small.delta");
        python("faults", "small-old", "small.zip", "faults");
    }

    void rebuildsWhatOthersMake_data()
    {
        const Rows<QString, bool> row("program", "isSmall");
        row("Python", "python3 " PATCHES_PY " zip . ../A.zip", true);
        row("Python, fast", "python3 " PATCHES_PY " zip . ../A.zip 1", true);
        row("Python, small", "python3 " PATCHES_PY " zip . ../A.zip 9", true);
        row("Python, stored", "python3 " PATCHES_PY " zip . ../A.zip 0", true);
        row("zip", "zip -q -r ../A.zip .", false); // it does not deflate with zlib
        row("zip, stored, to a stream", "zip -q -0 -r -fd ../A.zip .", true);
    }
    void rebuildsWhatOthersMake()
    {
        const auto [program, isSmall] = cells<QString, bool>("program", "isSmall");
        QFile::remove(m_tool.path("A.zip"));
        if (!MachineProgram::exists(program.section(' ', 0, 0)))
            QSKIP("there is no such program");
        const QStringList words = program.split(' ');
        QCOMPARE(MachineProgram::execute(words.first(), words.mid(1), m_tool.path("A-1.01.000")), 0);
        python("make", "A-1.00.000", "A.zip", "A.delta");
        const QByteArray package = m_tool.read("A.zip");
        QCOMPARE(m_tool.read("A.delta").size() < package.size() / 2, isSmall);
        QCOMPARE(rebuilt("A.delta", m_old, package.size()), QString());
        QVERIFY(m_made == package);
    }

    void refusesOtherOldFiles_data()
    {
        const Rows<QString, Change> row("reason", "change");
        const QString missing("it is missing, or no file");
        row("missing", missing, [](const QString& path) { return QFile::remove(path); });
        row("shorter", "it has 5 bytes instead of 600000", [](const QString& path) { return QFile::resize(path, 5); });
        row("changed", "its content is another", [](const QString& path) {
            QFile file(path);
            return file.open(QFile::ReadWrite) && file.seek(599999) && file.putChar('!');
        });
        row("a folder", missing, [](const QString& path) { return QFile::remove(path) && QDir().mkpath(path); });
        row("a link", missing, moveBehindLink);
        row("in a linked folder", missing, [](const QString& path) { return moveBehindLink(QFileInfo(path).path()); });
    }
    void refusesOtherOldFiles()
    {
        const auto [reason, change] = cells<QString, Change>("reason", "change");
        const QString copy = m_tool.path(QTest::currentDataTag()) + '/';
        for (const QString& name : QStringList{Platform::library("A"), "Manifest.xml", "bin/code", "empty", "gone"})
            writeFile(copy + name, readFile(m_old + '/' + name));
        if (!change(copy + "bin/code") && QByteArray(QTest::currentDataTag()).contains("link"))
            QSKIP("there are no links");
        const QString fault = "\"bin/code\" is not the file that the patch was made for: " + reason;
        const QString told = rebuilt("whole.delta", copy, m_tool.read("whole.zip").size());
        QCOMPARE(told.left(fault.size()), fault);
        QCOMPARE(m_made.size(), 0);
    }

    void refusesDamagedPatches_data()
    {
        const Rows<QString> row("reason");
        row("mark", "it does not begin as one");
        row("tail", "something stands behind its end");
        for (const char* name : {"longer", "longest"})
            row(name, "its extra stream is cut off");
        row("other-size", "it makes a package of ");
        row("path-up", "\"../Manifest.xml\" cannot be a file of a plugin");
        row("path-absolute", "\"/etc/passwd\" cannot be a file of a plugin");
        row("path-long", "the length of a path is 3002, where at most 3000 is possible");
        row("path-twice", "it names the old file \"Manifest.xml\" twice");
        row("huge-file", "\"Manifest.xml\" is not the file that the patch was made for: it has ");
        row("many-files", "the count of old files is 1099511627776");
        row("many-parts", "the count of parts is 1099511627776");
        row("kind", "the kind of a part is 2");
        row("level", "a part is deflated in a way that zlib does not know");
        row("memory-level", "the memory level of a part is 10");
        row("strategy", "the strategy of a part is 5");
        row("huge-part", "the size of a part is 4611686018427387904");
        for (const char* name : {"skip-before", "skip-behind", "skip-far"})
            row(name, "an instruction skips out of the old files");
        row("add-behind", "an instruction adds bytes from behind the old files");
        row("idle", "two instructions in a row make nothing");
        row("add-more", "the number of bytes to add is 1125899906842624");
        row("copy-more", "the number of bytes to copy is ");
        row("no-number", "the size of the package is no number");
        row("control-ends", "its control stream ends too early");
        row("difference-ends", "its difference stream ends too early");
        row("extra-ends", "its extra stream ends too early");
        row("control-left", "something is left of its control stream");
        row("difference-left", "something is left of its difference stream");
        row("extra-left", "something is left of its extra stream");
        row("control-sum", "its control stream cannot be inflated");
        row("extra-cut", "its extra stream is cut off");
        row("makes-more", "it makes more than the stated ");
        row("makes-less", "it makes ");
    }
    void refusesDamagedPatches()
    {
        const auto [reason] = cells<QString>("reason");
        const qint64 size = m_tool.read("small.zip").size();
        const QString told = rebuilt(QString("faults/") + QTest::currentDataTag(), m_tool.path("small-old"), size);
        const QString whole =
            reason.startsWith('"') && reason.contains("made for") ? reason : "the patch is damaged: " + reason;
        QCOMPARE(told.left(whole.size()), whole);
        QVERIFY(m_made.size() <= size);
    }

    void survivesEveryTruncationAndByte()
    {
        const QByteArray package = m_tool.read("small.zip");
        const QByteArray patch = m_tool.read("small.delta");
        const auto check = [&](const QByteArray& damaged) {
            m_tool.write("damaged.delta", damaged);
            const QString told = rebuilt("damaged.delta", m_tool.path("small-old"), package.size());
            // A deflate stream has bits that say nothing.
            return m_made.size() <= package.size() && (told.isEmpty() ? m_made == package : !told.endsWith(": "));
        };
        QCOMPARE(rebuilt("small.delta", m_tool.path("small-old"), package.size()), QString());
        QVERIFY(m_made == package);
        for (int i = 0; i < patch.size(); ++i) {
            QVERIFY2(check(patch.left(i)), qPrintable(QString::number(i)));
            for (const char bit : {'\x01', '\x10', '\x80'}) {
                QByteArray damaged = patch;
                damaged[i] = char(damaged[i] ^ bit);
                QVERIFY2(check(damaged), qPrintable(QString::number(i)));
            }
        }
    }

    void endsWhenCancelled()
    {
        for (const int cancelledAt : {1, 2}) { // when the file is hashed, and when it is read
            cRebuild* running = nullptr;
            int opened = 0;
            const auto open = [&](const QString& path) {
                if (++opened == cancelledAt)
                    running->cancel();
                return cRebuild::filesIn(m_tool.path("small-old"))(path);
            };
            cRebuild rebuild(m_tool.path("small.delta"), open, m_tool.read("small.zip").size());
            running = &rebuild;
            QBuffer package;
            QVERIFY(package.open(QIODevice::WriteOnly));
            QVERIFY(!rebuild.run(package));
            QCOMPARE(rebuild.errorString(), QString("it was cancelled"));
        }
    }

    void tellsAFullDisk()
    {
        QFile full("/dev/full");
        if (!full.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            QSKIP("a disk that is always full is needed");
        cRebuild rebuild(m_tool.path("small.delta"), cRebuild::filesIn(m_tool.path("small-old")),
                         m_tool.read("small.zip").size());
        QVERIFY(!rebuild.run(full));
        const QString fault = "the package cannot be written: no space is left on the device that holds ";
        QCOMPARE(rebuild.errorString().left(fault.size()), fault);
    }

private:
    static bool moveBehindLink(const QString& path)
    {
        return QFile::rename(path, path + "-was") && Platform::link(path + "-was", path);
    }

    /// Runs the writer of patches on files of the fixture.
    void python(const QString& what, const QString& folder, const QString& package, const QString& made = QString())
    {
        QStringList words{PATCHES_PY, what, m_tool.path(folder), m_tool.path(package)};
        if (!made.isEmpty())
            words.append(m_tool.path(made));
        QCOMPARE(MachineProgram::execute("python3", words), 0);
    }

    /// @return why the package could not be made; empty when it could. What was made is in m_made.
    QString rebuilt(const QString& patch, const QString& folder, qint64 size)
    {
        QBuffer package(&m_made);
        package.open(QIODevice::WriteOnly | QIODevice::Truncate);
        cRebuild rebuild(m_tool.path(patch), cRebuild::filesIn(folder), size);
        return rebuild.run(package) ? QString() : rebuild.errorString();
    }

    QByteArray m_made;
};

QTEST_GUILESS_MAIN(tst_cRebuild)
#include "tst_cRebuild.moc"
