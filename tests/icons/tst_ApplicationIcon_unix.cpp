#include "Rows.h"

#include <Norvale/Corvane.h>
#include <Norvale/cDelayedApplicationIconLoader.h>

#include <QtCore/QTemporaryDir>
#include <QtGui/QIcon>
#include <QtGui/QImageReader>
#include <QtGui/QPixmap>

#include <memory>

/// On the icon theme Tango, the pictures in hicolor and the desktop entry of the translation tool, all of this system.
class tst_ApplicationIcon : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void pictureOfAFile_data();
    void pictureOfAFile();
    void loaderTellsWhenTheIconIsThere();
    void manyLoadersAtOnce();
    void applicationEndsWhileLoading();

private:
    QString write(const QString& name, const QByteArray& text) const;

    QTemporaryDir m_folder;
};

namespace {

const QString systemIcons = "/usr/share/icons/";

} // namespace

QString tst_ApplicationIcon::write(const QString& name, const QByteArray& text) const
{
    QFile file(m_folder.filePath(name));
    const bool isWritten = file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
    return isWritten ? file.fileName() : QString();
}

void tst_ApplicationIcon::initTestCase()
{
    QIcon::setThemeName("Tango");
    for (const QSize& size : {QSize(200, 100), QSize(10, 4)}) {
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::green);
        QVERIFY(picture.save(m_folder.filePath(QString("%1.png").arg(size.width()))));
    }
    write("damaged.png", "\x89PNG\r\n\x1a\n and no more");
    write("text.txt", "text");
    write("noicon.desktop", "[Desktop Action x]\nIcon=linguist-qt5\n[Desktop Entry]\nName=x\n");
    write("suffix.desktop", "[Desktop Entry]\nIcon[de]=absent\nIcon = linguist-qt5.png\n");
    write("climbing.desktop", "[Desktop Entry]\nIcon=../48x48/apps/linguist-qt5\n");
    write("absolute.desktop", "[Desktop Entry]\nIcon=" + m_folder.filePath("10.png").toUtf8() + "\n");
}

void tst_ApplicationIcon::pictureOfAFile_data()
{
    const QString entry = systemIcons + "hicolor/48x48/apps/linguist-qt5.png";
    // Tango has pictures of 32 pixels, which are not enlarged, and drawings for those whose Qt reads them.
    const bool isDrawn = QImageReader::supportedImageFormats().contains("svg");
    const QSize size = isDrawn ? QSize(48, 48) : QSize(32, 32);
    const auto tango = [=](const QString& name) { return isDrawn ? "" : systemIcons + "Tango/32x32/" + name + ".png"; };
    const Rows<QString, QString, QSize> row("path", "picture", "size");
    row("no such file", "absent.png", "", QSize(0, 0));
    row("desktop entry", "/usr/share/applications/linguist-qt5.desktop", entry, QSize(48, 48));
    row("desktop entry with a suffix", "suffix.desktop", entry, QSize(48, 48));
    row("desktop entry with a path", "absolute.desktop", m_folder.filePath("10.png"), QSize(10, 4));
    row("picture that is larger", "200.png", "", QSize(48, 24));
    row("picture that is smaller", "10.png", m_folder.filePath("10.png"), QSize(10, 4));
    row("damaged picture has that of its kind", "damaged.png", tango("mimetypes/image-x-generic"), size);
    row("kind of a file", "text.txt", tango("mimetypes/text-x-generic"), size);
    row("program", "/bin/true", tango("mimetypes/application-x-executable"), size);
    // The kind of a desktop entry has no icon in this theme but that of its general kind.
    row("desktop entry without an icon", "noicon.desktop", tango("mimetypes/text-x-generic"), size);
    row("desktop entry that climbs out", "climbing.desktop", tango("mimetypes/text-x-generic"), size);
    row("folder", ".", tango("places/inode-directory"), size);
}

void tst_ApplicationIcon::pictureOfAFile()
{
    QFETCH(QString, path);
    QFETCH(QString, picture);
    const QImage icon = Corvane::loadApplicationIcon(QDir(m_folder.path()).filePath(path)).toImage();
    QTEST(icon.size(), "size");
    if (!picture.isEmpty())
        QCOMPARE(icon, QPixmap(picture).toImage());
}

void tst_ApplicationIcon::loaderTellsWhenTheIconIsThere()
{
    QObject parent;
    auto* loader = cDelayedApplicationIconLoader::createLoader(&parent, "id", m_folder.filePath("200.png"));
    QCOMPARE(loader->parent(), &parent);
    QCOMPARE(loader->id() + loader->path(), "id" + m_folder.filePath("200.png"));
    QVERIFY(loader->pixmap().isNull());

    QSignalSpy finished(loader, &cDelayedApplicationIconLoader::finished);
    loader->start();
    loader->start(); // while it loads: nothing
    QCOMPARE(loader->pixmap().size(), QSize(48, 24));
    QVERIFY(finished.isEmpty() && finished.wait());
    QCOMPARE(finished.first().first().value<cDelayedApplicationIconLoader*>(), loader);
    QCoreApplication::processEvents();
    QCOMPARE(finished.size(), 1);

    auto* absent = cDelayedApplicationIconLoader::createLoader(&parent, "", m_folder.filePath("absent"));
    QSignalSpy absentFinished(absent, &cDelayedApplicationIconLoader::finished);
    absent->start();
    QVERIFY(absentFinished.wait() && absent->pixmap().isNull());
}

/// While the main thread uses the same theme; half of the loaders are deleted before they are done.
void tst_ApplicationIcon::manyLoadersAtOnce()
{
    QObject parent;
    int loaded = 0;
    for (int i = 0; i < 40; ++i) {
        auto* loader = cDelayedApplicationIconLoader::createLoader(&parent, "", m_folder.filePath("text.txt"));
        connect(loader, &cDelayedApplicationIconLoader::finished, this,
                [&loaded](cDelayedApplicationIconLoader* done) { loaded += !done->pixmap().isNull(); });
        loader->start();
        if (i % 2)
            delete loader;
        QIcon::fromTheme("folder").pixmap(48);
    }
    QTRY_COMPARE_WITH_TIMEOUT(loaded, 20, 60000);
}

/// It comes last, so that the application ends while the pool works for loaders that are gone.
void tst_ApplicationIcon::applicationEndsWhileLoading()
{
    for (int i = 0; i < 500; ++i) {
        const std::unique_ptr<cDelayedApplicationIconLoader> loader(
            cDelayedApplicationIconLoader::createLoader(nullptr, "", m_folder.filePath("text.txt")));
        loader->start();
    }
}

QTEST_MAIN(tst_ApplicationIcon)

#include "tst_ApplicationIcon_unix.moc"
