#include "IconFiles.h"

#include <Norvale/Corvane.h>
#include <Norvale/cDelayedApplicationIconLoader.h>
#include <Rows.h>

#include <QtGui/QIcon>

#include <memory>

class tst_ApplicationIcon : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_files.reset(new IconFiles); }
    void cleanupTestCase() { m_files.reset(); }
    void pictureOfAFile_data() { m_files->addRows(); }
    void pictureOfAFile()
    {
        QFETCH(QString, path);
        QTEST(m_files->shownIn(Corvane::loadApplicationIcon(m_files->path(path))), "shown");
        QTEST(m_files->shownIn(Corvane::loadApplicationIcon(path)), "shown"); // below the current folder
    }
    void loaderTellsWhenTheIconIsThere()
    {
        QObject parent;
        cDelayedApplicationIconLoader* loader = load(IconFiles::Some, &parent);
        QCOMPARE(loader->parent(), &parent);
        QCOMPARE(loader->id() + loader->path(), "id" + m_files->path(IconFiles::Some));
        QVERIFY(loader->pixmap().isNull());

        QSignalSpy finished(loader, &cDelayedApplicationIconLoader::finished);
        loader->start();
        loader->start(); // while it loads: nothing
        const QPixmap icon = Corvane::loadApplicationIcon(loader->path());
        QVERIFY(!icon.isNull());
        QCOMPARE(loader->pixmap().toImage(), icon.toImage());
        QVERIFY(finished.isEmpty());
        QVERIFY(finished.wait());
        QCOMPARE(finished.first().first().value<cDelayedApplicationIconLoader*>(), loader);
        QCoreApplication::processEvents();
        QCOMPARE(finished.size(), 1);

        cDelayedApplicationIconLoader* absent = load("absent", &parent);
        QSignalSpy absentFinished(absent, &cDelayedApplicationIconLoader::finished);
        absent->start();
        QVERIFY(absentFinished.wait());
        QVERIFY(absent->pixmap().isNull());
    }
    /// While the main thread uses the same theme; half of the loaders are deleted before they are done.
    void manyLoadersAtOnce()
    {
        QObject parent;
        const QString shown = m_files->shownIn(Corvane::loadApplicationIcon(IconFiles::Some));
        int loaded = 0;
        for (int i = 0; i < 40; ++i) {
            cDelayedApplicationIconLoader* loader = load(IconFiles::Some, &parent);
            connect(loader, &cDelayedApplicationIconLoader::finished, this,
                    [&](cDelayedApplicationIconLoader* done) { loaded += m_files->shownIn(done->pixmap()) == shown; });
            loader->start();
            if (i % 2)
                delete loader;
            QIcon::fromTheme("folder").pixmap(48);
        }
        QTRY_COMPARE_WITH_TIMEOUT(loaded, 20, 60000);
    }
    /// It comes last, so that the application ends while the pool works for loaders that are gone. The file stays.
    void applicationEndsWhileLoading()
    {
        for (int i = 0; i < 500; ++i) {
            const std::unique_ptr<cDelayedApplicationIconLoader> loader(
                load(QCoreApplication::applicationFilePath(), nullptr));
            loader->start();
        }
    }

private:
    cDelayedApplicationIconLoader* load(const QString& name, QObject* parent) const
    {
        return cDelayedApplicationIconLoader::createLoader(parent, "id", m_files->path(name));
    }

    std::unique_ptr<IconFiles> m_files;
};

QTEST_MAIN(tst_ApplicationIcon)

#include "tst_ApplicationIcon.moc"
