#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>
#include <QtXml/QDomDocument>

class tst_Files : public QObject
{
    Q_OBJECT

private slots:
    void readAll_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("isRead");
        QTest::addColumn<QByteArray>("bytes");

        const QByteArray bytes("a\r\nb\0c\n", 7);
        QTest::newRow("missing") << m_dir.filePath("missing") << false << QByteArray();
        QTest::newRow("a folder") << m_dir.path() << false << QByteArray();
        QTest::newRow("empty") << file("empty", QByteArray()) << true << QByteArray();
        QTest::newRow("line ends and a zero byte as they stand") << file("bytes", bytes) << true << bytes;
    }
    void readAll()
    {
        QFETCH(QString, path);
        QFETCH(bool, isRead);

        bool ok = !isRead;
        QTEST(Corvane::FileReadAll(path, &ok), "bytes");
        QCOMPARE(ok, isRead);
        QTEST(Corvane::FileReadAll(path), "bytes");
    }
    void readDom_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<bool>("hasNamespaces");
        QTest::addColumn<bool>("isRead");
        QTest::addColumn<QString>("rootNamespace");

        const auto nested = [](int depth) {
            return QByteArray("<a>").repeated(depth) + QByteArray("</a>").repeated(depth);
        };
        const auto refused = [](const char* name, const QByteArray& xml) {
            for (bool hasNamespaces : {false, true})
                QTest::addRow("%s, %d", name, hasNamespaces) << xml << hasNamespaces << false << QString();
        };
        QTest::newRow("namespaces resolved") << QByteArray("<p:a xmlns:p='urn:p'/>") << true << true << "urn:p";
        QTest::newRow("namespaces left alone") << QByteArray("<p:a xmlns:p='urn:p'/>") << false << true << QString();
        QTest::newRow("nested five hundred deep") << nested(500) << false << true << QString();
        refused("not well-formed", "<a><b></a>");
        refused("empty", "");
        refused("nested a million deep", nested(1000000));
        const QByteArray model = QByteArray(1000000, '(') + "b" + QByteArray(1000000, ')');
        refused("content model nested a million deep", "<!DOCTYPE a [<!ELEMENT a " + model + ">]><a/>");
    }
    void readDom()
    {
        QFETCH(QByteArray, xml);
        QFETCH(bool, hasNamespaces);
        QFETCH(bool, isRead);

        QDomDocument doc;
        QCOMPARE(Corvane::FileReadDom(file("document.xml", xml), doc, hasNamespaces), isRead);
        if (isRead)
            QTEST(doc.documentElement().namespaceURI(), "rootNamespace");
        QVERIFY(!Corvane::FileReadDom(m_dir.filePath("missing"), doc, hasNamespaces));
    }
    void saveFreshDocument_data()
    {
        QTest::addColumn<QString>("path");

        QTest::newRow("over a longer file") << file("old.xml", QByteArray(4096, 'x'));
        QTest::newRow("below missing folders") << m_dir.filePath("one/two/new.xml");
    }
    void saveFreshDocument()
    {
        QFETCH(QString, path);

        QDomDocument doc;
        QDomElement root = doc.appendChild(doc.createElement("a")).toElement();
        root.appendChild(doc.createElement("b")).toElement().setAttribute("name", QString(QChar(0xe4)));
        QVERIFY(Corvane::SaveDomToFile(doc, path));

        const QByteArray bytes = Corvane::FileReadAll(path).replace("\r\n", "\n").replace('\'', '"');
        QCOMPARE(bytes,
                 QByteArray("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<a>\n  <b name=\"\xc3\xa4\"/>\n</a>\n"));
        QVERIFY(Corvane::FileReadDom(path, doc, false));
    }
    void saveDeclaresAgainWhatWasRead()
    {
        const QString path = file("declared.xml", "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<a/>\n");
        QDomDocument doc;
        QVERIFY(Corvane::FileReadDom(path, doc, false));
        QVERIFY(Corvane::SaveDomToFile(doc, path));
        QCOMPARE(Corvane::FileReadAll(path).count("<?xml"), 2);
        QVERIFY(!Corvane::FileReadDom(path, doc, false));
    }
    void saveFailsWhereNoFileCanBe()
    {
        QDomDocument doc;
        QVERIFY(!Corvane::SaveDomToFile(doc, file("plain", "x") + "/new.xml"));
        QVERIFY(!Corvane::SaveDomToFile(doc, m_dir.path()));
    }

private:
    QString file(const QString& name, const QByteArray& content)
    {
        QFile file(m_dir.filePath(name));
        const bool isWritten = file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
        return isWritten ? file.fileName() : QString();
    }

    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(tst_Files)
#include "tst_Files.moc"
