#include "SettingsSandbox.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QRandomGenerator>
#include <QtCore/QSettings>
#include <QtCore/QTimer>
#include <QtTest/QtTest>

class tst_Restart : public QObject
{
    Q_OBJECT

private slots:
    void optionIsAlwaysStoredAsZero()
    {
        QCOMPARE(Corvane::restartOption(), Corvane::NoRestart);
        QSettings().setValue("ConfigMgr/RestartOption", 7);
        QCOMPARE(int(Corvane::restartOption()), 7);
        Corvane::setRestartOption(Corvane::RestartWithSetup);
        QCOMPARE(QSettings().value("ConfigMgr/RestartOption"), QVariant(0));
        QCOMPARE(Corvane::restartOption(), Corvane::NoRestart);
    }
    void setupFilename()
    {
        QVERIFY(Corvane::restartSetupFilename().isEmpty());
        Corvane::setRestartSetupFilename("C:/a b/setup.exe");
        QCOMPARE(Corvane::restartSetupFilename(), QString("C:/a b/setup.exe"));
        QCOMPARE(QSettings().value("ConfigMgr/RestartFilename").toString(), QString("C:/a b/setup.exe"));
    }
    void restartEndsTheEventLoop()
    {
        QTimer::singleShot(0, &Corvane::restart);
        QTimer::singleShot(30000, QCoreApplication::instance(), [] { QCoreApplication::exit(1); });
        QCOMPARE(QCoreApplication::exec(), 0);
    }
    void launchDetached_data()
    {
        QTest::addColumn<QString>("currentFolder");
        QTest::addColumn<QString>("program");

        const QFileInfo program(LAUNCHED_PROGRAM);
        QTest::newRow("absolute") << QDir::currentPath() << program.absoluteFilePath();
        QTest::newRow("relative") << program.dir().filePath("..") << program.dir().dirName() + "/" + program.fileName();
        QTest::newRow("name alone") << program.path() << program.fileName();
    }
    void launchDetached()
    {
        QFETCH(QString, currentFolder);
        QFETCH(QString, program);

        const QString report = m_sandbox.path() + "/" + QTest::currentDataTag();
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(currentFolder));
        const bool isStarted = Corvane::launchDetached(program, {report, "two words", "", "\"quoted\""});
        QVERIFY(QDir::setCurrent(before));
        QVERIFY(isStarted);

        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(report), 30000);
        const QString folder = QFileInfo(LAUNCHED_PROGRAM).canonicalPath();
        QCOMPARE(Corvane::FileReadAll(report), (folder + "\ntwo words\n\n\"quoted\"").toUtf8());
    }
    void launchFailsWithoutProgram()
    {
        QVERIFY(!Corvane::launchDetached(m_sandbox.path() + "/missing", {}));
        // A program of this name is found by PATH only.
        QVERIFY(QDir::setCurrent(m_sandbox.path()));
        QVERIFY(!Corvane::launchDetached("cmake", {}));
    }
    void everyPixelIsSwizzled()
    {
        QByteArray bitmap(860, '\0');
        QRandomGenerator random(1);
        for (char& byte : bitmap)
            byte = char(random.generate());
        QByteArray expected(960, '\0');
        for (int pixel = 0; pixel < 160 * 43; ++pixel) {
            const int x = pixel % 160;
            const int y = pixel / 160;
            const int bit = (bitmap.at(y * 20 + x / 8) >> (7 - x % 8)) & 1;
            expected[y / 8 * 160 + x] = char(expected.at(y / 8 * 160 + x) | bit << y % 8);
        }
        QByteArray out(960, char(0xaa));
        Corvane::SwizzleForDrell(reinterpret_cast<unsigned char*>(out.data()),
                                 reinterpret_cast<const unsigned char*>(bitmap.constData()));
        QCOMPARE(out, expected);
    }

private:
    SettingsSandbox m_sandbox;
};

QTEST_GUILESS_MAIN(tst_Restart)
#include "tst_Restart.moc"
