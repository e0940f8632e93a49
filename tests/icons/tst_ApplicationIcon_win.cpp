#include "Rows.h"

#include <Norvale/Corvane.h>
#include <Norvale/cDelayedApplicationIconLoader.h>

#include <QtCore/QDir>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtGui/QPixmap>

/// On a program whose icon is of one colour, and on a document type that has this icon. The size is the shell's matter.
class tst_ApplicationIcon : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void pictureOfAFile_data();
    void pictureOfAFile();
    void loaderTellsWhenTheIconIsThere();
    void manyLoadersAtOnce();

private:
    QString path(const QString& name) const { return QDir(m_folder.path()).filePath(name); }
    void registerKind(const QString& ending, const QString& iconFile) const;

    QTemporaryDir m_folder;
};

namespace {

const char* const Classes = "HKEY_CLASSES_ROOT";

/// "pictured" for the colour of the program's icon, "other" for another picture, "none".
QString kindOf(const QPixmap& icon)
{
    if (icon.isNull())
        return "none";
    const QColor colour = icon.toImage().pixelColor(icon.width() / 2, icon.height() / 2);
    return colour == QColor(0xd0, 0x30, 0x10) ? "pictured" : "other";
}

} // namespace

void tst_ApplicationIcon::initTestCase()
{
    for (const char* name : {"program.exe", "program.bin", "Program.BIN2.Bin"})
        QVERIFY(QFile::copy(PICTURED_PROGRAM, path(name)));
    for (const char* name : {"text.bin", "a.norvaletest", "a.norvaletest2", "a.norvaletest3", "unknown.norvalenone"}) {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("text") == 4);
    }
    registerKind("norvaletest", "program.exe");
    registerKind("norvaletest2", "a.norvaletest");
    registerKind("norvaletest3", "absent.exe");
    QDir::setCurrent(m_folder.path());
}

void tst_ApplicationIcon::registerKind(const QString& ending, const QString& iconFile) const
{
    QSettings classes(Classes, QSettings::NativeFormat);
    classes.setValue('.' + ending + "/.", ending);
    classes.setValue(ending + "/DefaultIcon/.", QDir::toNativeSeparators(path(iconFile)) + ",0");
}

void tst_ApplicationIcon::cleanupTestCase()
{
    QSettings classes(Classes, QSettings::NativeFormat);
    for (const char* ending : {"norvaletest", "norvaletest2", "norvaletest3"}) {
        classes.remove(QString(".") + ending);
        classes.remove(ending);
    }
    QDir::setCurrent(QCoreApplication::applicationDirPath());
}

void tst_ApplicationIcon::pictureOfAFile_data()
{
    const Rows<QString, QString> row("path", "kind");
    row("no such file", "absent.exe", "none");
    row("program", "program.exe", "pictured");
    row("the first icon within", "program.bin", "pictured");
    row("the ending in capitals", "Program.BIN2.Bin", "pictured");
    row("no icon within, so that of its kind", "text.bin", "other");
    row("kind of a document", "a.norvaletest", "pictured");
    row("kind with an icon file that has none, so that of the file's kind", "a.norvaletest2", "pictured");
    row("kind with an icon file that is not there", "a.norvaletest3", "none");
    row("unknown kind", "unknown.norvalenone", "other");
    row("folder", ".", "other");
}

void tst_ApplicationIcon::pictureOfAFile()
{
    QFETCH(QString, path);
    QTEST(kindOf(Corvane::loadApplicationIcon(this->path(path))), "kind");
    QTEST(kindOf(Corvane::loadApplicationIcon(path)), "kind"); // below the current folder
}

void tst_ApplicationIcon::loaderTellsWhenTheIconIsThere()
{
    QObject parent;
    auto* loader = cDelayedApplicationIconLoader::createLoader(&parent, "id", path("program.exe"));
    QCOMPARE(loader->id() + loader->path(), "id" + path("program.exe"));
    QVERIFY(loader->pixmap().isNull());
    QSignalSpy finished(loader, &cDelayedApplicationIconLoader::finished);
    loader->start();
    loader->start(); // while it loads: nothing
    QCOMPARE(kindOf(loader->pixmap()), QString("pictured"));
    QVERIFY(finished.isEmpty() && finished.wait());
    QCoreApplication::processEvents();
    QCOMPARE(finished.size(), 1);

    auto* absent = cDelayedApplicationIconLoader::createLoader(&parent, "", path("absent"));
    QSignalSpy absentFinished(absent, &cDelayedApplicationIconLoader::finished);
    absent->start();
    QVERIFY(absentFinished.wait() && absent->pixmap().isNull());
}

/// On the threads of the pool; half of the loaders are deleted before they are done.
void tst_ApplicationIcon::manyLoadersAtOnce()
{
    QObject parent;
    int loaded = 0;
    for (int i = 0; i < 40; ++i) {
        auto* loader = cDelayedApplicationIconLoader::createLoader(&parent, "", path("program.bin"));
        connect(loader, &cDelayedApplicationIconLoader::finished, this,
                [&loaded](cDelayedApplicationIconLoader* done) { loaded += kindOf(done->pixmap()) == "pictured"; });
        loader->start();
        if (i % 2)
            delete loader;
    }
    QTRY_COMPARE_WITH_TIMEOUT(loaded, 20, 60000);
}

QTEST_MAIN(tst_ApplicationIcon)

#include "tst_ApplicationIcon_win.moc"
