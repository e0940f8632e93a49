#include "plugins/cFileRecord.h"

#include <Files.h>
#include <Norvale/Corvane.h>
#include <Rows.h>
#include <SettingsSandbox.h>

static const cPluginId Foo("Foo-1", cVersion("1.2.3"));

static cRecordedFile factsOf(const QByteArray& content, qint64 changed)
{
    return {content.size(), changed, QCryptographicHash::hash(content, QCryptographicHash::Sha256)};
}

class tst_cFileRecord : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_sandbox.setInstallDir(m_sandbox.path());
        Corvane::initializeFolderOrFile();
        QFile::remove(cFileRecord::path());
    }
    void comesBackAsItWas()
    {
        cRecordedFile large = factsOf("x", Q_INT64_C(1999999999999));
        large.size = Q_INT64_C(5) << 30;
        const QString odd = QString::fromUtf8("ts/\xc3\xa4 \"b\\\xf0\x9f\x98\x80.qm");
        cFileRecord record;
        record.set(Foo, {{"Manifest.xml", factsOf("<m/>", 0)}, {odd, large}});
        record.set(cPluginId("Gone", cVersion("1.0")), {});
        QVERIFY(record.write());
        cFileRecord read;
        QVERIFY2(read.read(), qPrintable(read.errorString()));
        QCOMPARE(read.toBytes(), record.toBytes());
        QCOMPARE(read.files(Foo).value(odd).size, large.size);
        QCOMPARE(read.files(Foo).value(odd).changed, large.changed);
        QCOMPARE(read.files(Foo).value(odd).sha256, large.sha256);
        read.keepOnly({Foo});
        QVERIFY(!read.contains(cPluginId("Gone", cVersion("1.0"))));
        QVERIFY(read.contains(Foo));
    }
    void isHeldOnlyWhole()
    {
        cFileRecord record;
        record.set(Foo, {{"Manifest.xml", factsOf("<m/>", 1)}});
        const QByteArray bytes = record.toBytes();
        for (int i = 0; i < bytes.size(); ++i) {
            QByteArray flipped = bytes;
            flipped[i] = char(flipped.at(i) ^ (1 << i % 8));
            for (const QByteArray& damaged : {bytes.left(i), flipped}) {
                cFileRecord read = record;
                const bool isRead = read.fromBytes(damaged);
                QVERIFY2(!isRead, damaged.constData());
                QVERIFY(read.isEmpty());
            }
        }
    }
    void saysWhatIsWrongWithItsFile()
    {
        cFileRecord record;
        QVERIFY(record.read()); // there is none
        writeFile(cFileRecord::path(), "{}");
        QVERIFY(!record.read());
        QCOMPARE(record.errorString(), cFileRecord::path() + ": damaged: it does not begin with its own SHA-256");
        QFile::remove(cFileRecord::path());
        QVERIFY(QDir().mkpath(cFileRecord::path()));
        QVERIFY(!record.read());
        QCOMPARE(record.errorString(), cFileRecord::path() + ": cannot be read: this is a folder");
        QVERIFY(!record.write());
        QVERIFY2(record.errorString().startsWith(cFileRecord::path()), qPrintable(record.errorString()));
        QVERIFY(QDir().rmdir(cFileRecord::path()));
    }

private:
    SettingsSandbox m_sandbox;
};

QTEST_GUILESS_MAIN(tst_cFileRecord)
#include "tst_cFileRecord.moc"
