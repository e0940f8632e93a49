#include "Archives.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include <Rows.h>

/// The listed files, each with its sizes.
static QString listOf(const cZipArchive& archive)
{
    QStringList list;
    const auto entries = archive.entries();
    for (const QSharedPointer<cZipEntry>& entry : entries)
        list += QString("%1 %2/%3").arg(entry->name()).arg(entry->compressedSize()).arg(entry->uncompressedSize());
    return list.join(", ");
}

/// A device that gives one byte at a time, and that can be told not to seek.
class SlowDevice : public QIODevice
{
public:
    SlowDevice(const QByteArray& bytes, bool isPipe) : m_bytes(bytes), m_isPipe(isPipe)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    bool isSequential() const override { return m_isPipe; }
    qint64 size() const override { return m_bytes.size(); }

protected:
    qint64 readData(char* to, qint64 size) override
    {
        const QByteArray byte = m_bytes.mid(int(pos()), int(qMin<qint64>(size, 1)));
        std::copy(byte.begin(), byte.end(), to);
        return byte.size();
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_bytes;
    bool m_isPipe;
};

/// The list of files: the end record, the central directory, and the devices that they are read from.
class tst_cZipArchive : public QObject
{
    Q_OBJECT

private slots:
    void lists_data() { m_archives.addRows("lists"); }
    void lists()
    {
        const QByteArray bytes = m_archives.read("lists/%1.zip");
        SlowDevice slow(bytes, false);
        cZipArchive archive;
        const QString isParsed = archive.setArchive(&slow) ? "True " : "False ";
        const QByteArray expected = m_archives.read("lists/%1.list");
        QCOMPARE(isParsed + listOf(archive), QString::fromUtf8(expected.constData(), expected.size()));
        QCOMPARE(listOf(cZipArchive(bytes)), listOf(archive));
    }

    void readsOtherPrograms_data()
    {
        const Rows<QString, QString> row("file", "list");
        const QString umlaut = QString::fromLatin1(QString::fromUtf8("Größe.txt").toUtf8());
        row("Info-ZIP", "infozip", "logo.bin=, " + umlaut + "=21, Manifest.xml=246, docs/readme.txt=280, link.txt=");
        row("Info-ZIP, streamed", "infozip-streamed", "Manifest.xml=, docs/readme.txt=");
        row("7-Zip", "7zip", umlaut + "=21, Manifest.xml=246, docs/readme.txt=280, logo.bin=");
        row("Python", "python", "Manifest.xml=246, docs/readme.txt=280, logo.bin=, " + umlaut + "=21");
        row("libzip", "libzip", "Manifest.xml=246, docs/readme.txt=280, logo.bin=, " + umlaut + "=21");
    }
    void readsOtherPrograms()
    {
        QFETCH(QString, file);
        const cZipArchive archive(QString(ZIP_DATA "/%1.zip").arg(file));
        QStringList list;
        const auto entries = archive.entries();
        for (const QSharedPointer<cZipEntry>& entry : entries) {
            const QByteArray content = entry->content();
            list += entry->name() + "=" + (content.isEmpty() ? QString() : QString::number(content.size()));
        }
        QTEST(list.join(", "), "list");
        const auto readme = archive.entry("docs/readme.txt");
        QVERIFY(file.endsWith("streamed") || readme->content() == QByteArray("How to print.\n").repeated(20));
        const auto logo = archive.entry("logo.bin");
        QVERIFY(file.endsWith("streamed") || logo->compressedContent().size() == 64);
    }

    void findsByName()
    {
        cZipArchive archive(m_archives.read("names.zip"));
        for (int round = 0; round < 2; ++round) {
            QHash<QString, QSharedPointer<cZipEntry>> firsts;
            const auto entries = archive.entries();
            for (const QSharedPointer<cZipEntry>& entry : entries)
                firsts.insert(entry->name(), firsts.value(entry->name(), entry));
            for (auto it = firsts.cbegin(); it != firsts.cend(); ++it)
                QCOMPARE(archive.entry(it.key()), it.value());
            for (const QString& name :
                 {QString(), QString("SAME"), QString("n"), QString("n300"), QString(QChar(0x173))})
                QVERIFY(!archive.entry(name));
            QCOMPARE(archive.entry("same")->compressedContent(), QByteArray("1"));
            QCOMPARE(archive.uncompressedSize(), 796 * (round + 1));
            QVERIFY(archive.parse());
            QCOMPARE(archive.entries().size(), 306 * (round + 2)); // appends
        }
    }

    void ownsWhatItMade()
    {
        const QTemporaryDir folder;
        QByteArray bytes = m_archives.read("stored.zip");
        writeFile(folder.filePath("a.zip"), bytes);
        QBuffer buffer(&bytes);
        QVERIFY(buffer.open(QIODevice::ReadWrite));

        cZipArchive archive(folder.filePath("a.zip"));
        QCOMPARE(listOf(archive), QString("a 1/1"));
        QVERIFY(archive.qt_metacast("cZipArchive"));
        QVERIFY(!archive.parent());
        const auto entry = archive.entries().constFirst();
        QVERIFY(archive.setArchive(&buffer));
        QCOMPARE(listOf(archive), QString("a 1/1"));
        QCOMPARE(entry->compressedContent(), QByteArray("1")); // from the device that the archive has now
        bytes.replace("1PK", "2PK");
        QCOMPARE(archive.entry("a")->compressedContent(), QByteArray("2")); // a device of others is read anew
        QVERIFY(!archive.setArchive(bytes));
        QVERIFY(archive.entries().isEmpty());
        QVERIFY(!archive.parse());
        QVERIFY(!archive.setArchive(nullptr));
        QVERIFY(!archive.parse());
        QVERIFY(entry->compressedContent().isEmpty());
        QVERIFY(buffer.isOpen());
        QVERIFY(!cZipArchive().parse());
        QVERIFY(!cZipArchive(folder.filePath("none")).parse());
    }

    void leavesHostileDevicesAlone()
    {
        QByteArray bytes = m_archives.read("outside.zip");
        QBuffer growing(&bytes);
        QVERIFY(growing.open(QIODevice::ReadWrite));
        cZipArchive archive(&growing);
        const int size = bytes.size();
        QVERIFY(archive.entry("a")->compressedContent().isEmpty());
        QVERIFY(archive.entry("a")->content().isEmpty());
        QCOMPARE(bytes.size(), size);
        SlowDevice pipe(bytes, true);
        QVERIFY(!archive.setArchive(&pipe));
        QVERIFY(archive.entries().isEmpty());
    }

    void entriesOutliveTheirArchive()
    {
        QScopedPointer<cZipArchive> archive(new cZipArchive(m_archives.read("deflated.zip")));
        const auto entry = archive->entry("name");
        const cZipEntry empty(archive.data()); // its local header is the first
        QCOMPARE(entry->content() + empty.content(), QByteArray("contentcontent"));
        QVERIFY(empty.name().isEmpty());
        QCOMPARE(empty.compressedSize(), 0);
        QCOMPARE(empty.uncompressedSize(), 0);
        archive.reset();
        QCOMPARE(entry->name() + QString::number(entry->uncompressedSize()), QString("name7"));
        QVERIFY(entry->content().isEmpty());
        QVERIFY(entry->compressedContent().isEmpty());
        QVERIFY(empty.content().isEmpty());
    }

private:
    const Archives m_archives;
};

QTEST_GUILESS_MAIN(tst_cZipArchive)
#include "tst_cZipArchive.moc"
