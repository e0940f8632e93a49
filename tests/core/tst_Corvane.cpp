#include <ChildRun.h>
#include <Files.h>
#include <LogFile.h>
#include <Norvale/Corvane.h>
#include <Norvale/cJsonValue.h>
#include <Rows.h>
#include <SettingsSandbox.h>

#include "core/Files.h"
#include "disk/WriteSettings.h"

#include <QtXml/QDomDocument>

#include <functional>
#include <new>
#include <stdexcept>
#include <thread>

struct Handler : Corvane::ILocalSocketMessageHandler
{
    ~Handler() override { Corvane::unregisterLocalSocketMessageHandler(this); }
    void handleMessage(int id, const cJsonValue& text) override { note(QString::number(id) + text.toString()); }
    std::function<void(const QString&)> note;
};

class tst_Corvane : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { m_sandbox.removeMachineValue("ConfigMgr"); }
    void foldersAndFiles()
    {
        const QString root = m_sandbox.path() + "/suite";
        m_sandbox.setInstallDir(m_sandbox.path() + "/another");
        QVERIFY(Corvane::initializeFolderOrFile());
        m_sandbox.setInstallDir(root + "/x/..");
        QVERIFY(Corvane::initializeFolderOrFile());
        QVERIFY(Corvane::initializeFolderOrFile());
        QCOMPARE(QDir::searchPaths("core"), QStringList(root));
        // A path stands at the place of its value; it begins in the root (~) or in the data folder (@).
        const QString expected = "~,~,~,~/plugins,@/Dropbox,~/Bootstrap,~/Repository,@,@,,,~/plugins/features.xml,"
                                 "@/Dropbox/repository.xml,~/Bootstrap/repository.xml,~/Repository/VelmDev.xml,"
                                 "@/settings.json,,,,,~/VCore.exe,~/VRestart.exe,~/VInstall.exe,";
        QStringList paths;
        for (int value = 0; value < 24; ++value)
            paths << Corvane::velmiraFolderOrFile(Corvane::VelmFolderOrFile(value));
        const QString data = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
        QCOMPARE(paths.replaceInStrings(root, "~").replaceInStrings(data, "@"), expected.split(','));
        QVERIFY2(!QFile::exists(root), "nothing is created");

        m_sandbox.removeMachineValue("InstallDir");
        QVERIFY(Corvane::initializeFolderOrFile());
        QCOMPARE(Corvane::velmiraFolderOrFile(Corvane::CoreFolder), QDir::currentPath());
    }
    void aReplacedFileIsTheOldOneOrTheNewOne()
    {
        const QString path = m_sandbox.path() + "/replaced/below/file";
        QString error;
        QVERIFY2(replaceFile(path, "one", &error), qPrintable(error));
        QVERIFY2(replaceFile(path, "two", &error), qPrintable(error));
        QCOMPARE(Corvane::FileReadAll(path, nullptr), QByteArray("two"));
        QVERIFY(flushFolder(QFileInfo(path).path()));
        QVERIFY(!flushFolder(path));

        // Where nothing can take the place of an open file, a reader is waited for.
        QFile reader(path);
        QVERIFY(reader.open(QIODevice::ReadOnly));
        std::thread reading([&] {
            QThread::msleep(300);
            reader.close();
        });
        const bool isReplaced = replaceFile(path, "two", &error);
        reading.join();
        QVERIFY2(isReplaced, qPrintable(error));

        // Neither over a folder nor below a file; what is there stays, and nothing is left beside it.
        for (const QString& refused : {QFileInfo(path).path(), path + "/below"}) {
            QVERIFY(!replaceFile(refused, "three", &error));
            QVERIFY(!replaceFile(refused, "three", nullptr));
            QVERIFY2(error.contains(refused), qPrintable(error));
        }
        QCOMPARE(Corvane::FileReadAll(path, nullptr), QByteArray("two"));
        QCOMPARE(QDir(m_sandbox.path() + "/replaced").entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
    }
    void settingsAreWrittenAsQtReadsThem()
    {
        SettingsChanges values{{"plain", "x"}, {"General/plain", 1}, {"true", true}, {"a/b c/%d\u00e4\u20ac", -1.5}};
        const QString zeros(3, QChar(0)), letters = "\u00e4\u20ac\U0001f600";
        const QStringList texts{"", " x", "x ", "a,b;c=d", "\"\\\n\t\0012", "@at", letters, zeros + "9", "a, b"};
        for (const QString& text : texts)
            values.insert(QString("texts/%1").arg(values.size()), text);
        values.insert("lists/1", texts);
        values.insert("lists/2", QStringList{"one"});
        values.insert("lists/3", QStringList());
        values.insert("lists/4", QVariantList{1, "a,b", 2.5});
        values.insert("others/1", QVariantMap{{"url", "http://h/?a=b"}, {"priority", 0}});
        values.insert("others/2", QByteArray("\0\xff;", 3));
        values.insert("others/3", QDateTime::fromMSecsSinceEpoch(1));
        const QString byUs = m_sandbox.path() + "/us.ini";
        const QString byQt = m_sandbox.path() + "/qt.ini";
        QString error;
        QSettings ours(byUs, QSettings::IniFormat);
        QVERIFY2(writeSettings(ours, values, &error), qPrintable(error));
        QSettings theirs(byQt, QSettings::IniFormat);
        for (auto it = values.begin(); it != values.end(); ++it)
            theirs.setValue(it.key(), it.value());
        theirs.sync();
        for (const QString& path : {byUs, byQt}) // what a file was read from is not read again
            QVERIFY(QFile::rename(path, path + ".ini"));
        const QSettings us(byUs + ".ini", QSettings::IniFormat), qt(byQt + ".ini", QSettings::IniFormat);
        QCOMPARE(us.allKeys(), qt.allKeys());
        QCOMPARE(us.allKeys().size(), values.size());
        // A list of texts is one of variants where QSettings has marked a text.
        const auto valueIn = [](const QSettings& settings, const QString& key) {
            const QVariant value = settings.value(key);
            return value.userType() == QMetaType::QStringList ? value.toList() : value;
        };
        for (const QString& key : us.allKeys())
            QVERIFY2(valueIn(us, key) == valueIn(qt, key), qPrintable(key));
    }
    void settingsAreChangedWholeOrNotAtAll()
    {
        const QString path = m_sandbox.path() + "/below/more/settings.ini";
        QSettings store(path, QSettings::IniFormat);
        QString error;
        QVERIFY2(writeSettings(store, {{"a/1", 1}, {"a/2", 2}, {"ab", 3}, {"b/1", 4}}, &error), qPrintable(error));
        QVERIFY(writeSettings(store, {{"a", QVariant()}, {"a/3", 5}, {"b/1", QVariant()}}, &error));
        QCOMPARE(store.allKeys(), QStringList({"a/3", "ab"}));
        // Others write meanwhile, by Qt and by us.
        std::thread others([&path] {
            for (int i = 0; i < 30; ++i) {
                QSettings theirs(path, QSettings::IniFormat);
                theirs.setValue(QString("theirs/%1").arg(i), i);
                theirs.sync();
            }
        });
        bool isWritten = true;
        for (int i = 0; i < 30; ++i)
            isWritten = writeSettings(store, {{QString("ours/%1").arg(i), i}}, &error) && isWritten;
        others.join();
        QVERIFY2(isWritten, qPrintable(error));
        QCOMPARE(QSettings(path, QSettings::IniFormat).allKeys().size(), 62);

        const QByteArray odd = "[a]\nno settings\n";
        QSettings oddStore(file(odd), QSettings::IniFormat);
        QVERIFY(!writeSettings(oddStore, {{"a", 1}}, &error));
        QVERIFY2(error.contains("file cannot be written: what stands there are no settings"), qPrintable(error));
        QCOMPARE(readFile(oddStore.fileName()), odd);
    }
    void translate_data()
    {
        // Each word is a string: the name of its locale, its id, its text.
        const Rows<QString, QString, QString, QString> row("locale", "root", "strings", "text");
        row("current behind the default", "de_DE", "t defaultlocale='en_US'", "en_US:X:Hello de_DE:X:Hallo", "Hallo");
        row("no default, other locales", "fr_FR", "t", "de_DE:X:Hallo :X:1 fr_FR:x:2", "X");
        row("last default match", "fr_FR", "t defaultlocale='en_US'", "en_US:X:1 en_US:X:2 en_US:Y:3 de_DE:X:4", "2");
        row("first current match", "fr_FR", "t", "fr_FR:Y:1 fr_FR:X:2 fr_FR:X:3", "2");
        row("empty current text beats the default", "de_DE", "t defaultlocale='en_US'", "en_US:X:Hello de_DE:X:", "X");
        row("locale unset, unnamed locale", "", "t", ":X:1", "1");
    }
    void translate()
    {
        auto [locale, root, strings] = cells<QString, QString, QString>("locale", "root", "strings");
        m_sandbox.setMachineValue("ConfigMgr/Locale", locale);
        const QString element = R"(<locale name="\1"><string id="\2">\3</string></locale>)";
        strings.replace(QRegularExpression("(\\S*):(\\S+):(\\S*)"), element);
        QDomDocument doc;
        QVERIFY(doc.setContent("<" + root + ">" + strings + "</t>"));
        QTEST(Corvane::translate(doc.documentElement(), "X"), "text");
    }
    void expandPath_data()
    {
        const Rows<QVariantMap, QString, QString> row("settings", "path", "expanded");
        row("every one", {{"Locale", "de_AT"}}, "$(locale)$(language)$(country)$(region)$(platform)",
            "de_ATdeATvarkelx64");
        row("other case, unknown, unclosed", {{"Locale", "de"}}, "$(Region)$(x)$(locale", "$(Region)$(x)$(locale");
        row("value names itself twice", {{"Region", "$(region)$(region)x"}}, "$(region)", "xx");
        row("made by a replacement", {{"Region", "$(plat"}}, "$(region)form)", "x64");
        row("values name each other", {{"Locale", "$(region)"}, {"Region", "$(locale)"}}, "$(locale)", "$(locale)");
        row("a hundred passes", {}, QString("$(platform)").repeated(101), QString("x64").repeated(100) + "$(platform)");
    }
    void expandPath()
    {
        const auto [settings, path] = cells<QVariantMap, QString>("settings", "path");
        for (const QString& name : settings.keys())
            m_sandbox.setMachineValue("ConfigMgr/" + name, settings.value(name));
        QTEST(Corvane::expandPath(path), "expanded");
    }
    void readFiles()
    {
        const QByteArray bytes("a\r\nb\0c\n", 7);
        bool isRead = false;
        QCOMPARE(Corvane::FileReadAll(file(bytes), &isRead), bytes);
        QVERIFY(isRead);
        QVERIFY(Corvane::FileReadAll(m_sandbox.path(), &isRead).isEmpty());
        QVERIFY(!isRead);
        QVERIFY(Corvane::FileReadAll(file(""), &isRead).isEmpty());
        QVERIFY(isRead);
        QVERIFY(Corvane::FileReadAll(file("") + "/missing", &isRead).isEmpty());
        QVERIFY(!isRead);

        QDomDocument doc;
        const QByteArrayList refused{"", "<a><b></a>", QByteArray("<a>").repeated(1000000)};
        for (bool hasNamespaces : {false, true}) {
            QVERIFY(Corvane::FileReadDom(file("<p:a xmlns:p='urn:p'/>"), doc, hasNamespaces));
            QCOMPARE(doc.documentElement().namespaceURI(), QString(hasNamespaces ? "urn:p" : ""));
            for (const QByteArray& xml : refused)
                QVERIFY2(!Corvane::FileReadDom(file(xml), doc, hasNamespaces), xml.left(40));
        }
    }
    void saveDocuments()
    {
        for (const QString& path : {m_sandbox.path() + "/below/missing/folders.xml", file(QByteArray(4096, 'x'))}) {
            QDomDocument doc;
            QVERIFY(doc.setContent(QByteArray("<a><b name='\xc3\xa4'/></a>")));
            QVERIFY2(Corvane::SaveDomToFile(doc, path), qPrintable(path));
            const QByteArray text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<a>\n  <b name=\"\xc3\xa4\"/>\n</a>\n";
            QCOMPARE(QString::fromUtf8(Corvane::FileReadAll(path).replace('\'', '"')),
                     QString::fromUtf8(text).replace("\n", Platform::lineEnd()));
            // What is read is declared already; it is declared again all the same, and cannot be read any more.
            QVERIFY(Corvane::FileReadDom(path, doc, false));
            QVERIFY(Corvane::SaveDomToFile(doc, path));
            QCOMPARE(Corvane::FileReadAll(path).count("<?xml"), 2);
            QVERIFY(!Corvane::FileReadDom(path, doc, false));
            QVERIFY2(!Corvane::SaveDomToFile(doc, path + "/in a file"), qPrintable(path));
        }
    }
    void handlersChangeFromTheNextMessage()
    {
        QStringList journal;
        Handler a, b, c;
        a.note = [&](const QString& message) { journal << "a" + message; };
        c.note = [&](const QString& message) { journal << "c" + message; };
        b.note = [&](const QString& message) {
            journal << "b" + message;
            Corvane::unregisterLocalSocketMessageHandler(&a);
            Corvane::registerLocalSocketMessageHandler(&c);
        };
        for (Handler* handler : {&b, &a, &b})
            Corvane::registerLocalSocketMessageHandler(handler);
        Corvane::handleLocalSocketMessage(-1, cJsonValue("x"));
        Corvane::handleLocalSocketMessage(2, cJsonValue("y"));
        QCOMPARE(journal, QStringList({"b-1x", "a-1x", "b2y", "c2y"}));
    }
    /// Also when another one takes its place in memory meanwhile.
    void destroyedHandlerIsNotReached()
    {
        QStringList journal;
        alignas(Handler) char place[sizeof(Handler)];
        auto* gone = new (place) Handler;
        Handler first, last;
        last.note = [&](const QString& message) { journal << "last" + message; };
        gone->note = [&](const QString& message) { journal << "gone" + message; };
        first.note = [&](const QString& message) {
            journal << "first" + message;
            if (journal.size() > 1)
                return;
            gone->~Handler();
            (new (place) Handler)->note = [&](const QString& later) { journal << "new" + later; };
            Corvane::registerLocalSocketMessageHandler(gone);
        };
        for (Handler* handler : {&first, gone, &last})
            Corvane::registerLocalSocketMessageHandler(handler);
        for (const char* message : {"x", "y"})
            Corvane::handleLocalSocketMessage(0, cJsonValue(message));
        QCOMPARE(journal, QStringList({"first0x", "last0x", "first0y", "last0y", "new0y"}));
        gone->~Handler();
    }
    void throwingHandlerIsNamed()
    {
        const LogFile file;
        QStringList journal;
        Handler standard, other, last;
        standard.note = [](const QString&) { throw std::runtime_error("out of paper"); };
        other.note = [](const QString&) { throw 42; };
        last.note = [&](const QString& message) { journal << message; };
        for (Handler* handler : {&standard, &other, &last})
            Corvane::registerLocalSocketMessageHandler(handler);
        QCOMPARE(Corvane::dispatchLocalSocketMessage(3, cJsonValue("x")),
                 QStringList({"threw an exception: out of paper", "threw an exception of unknown type"}));
        QCOMPARE(journal, QStringList("3x"));
        const QString culprit = "A message handler of " + QCoreApplication::applicationFilePath() + " threw";
        QCOMPARE(file.lines().count(culprit), 2);
    }
    void launchDetached()
    {
        const QFileInfo program(QCoreApplication::applicationFilePath());
        QVERIFY(QDir::setCurrent(program.path() + "/.."));
        for (const QString& name : {program.filePath(), program.dir().dirName() + "/" + program.fileName()}) {
            const QString report = m_sandbox.path() + QString("/report %1").arg(name.size());
            QVERIFY(Corvane::launchDetached(name, {"child", report, "two words", "", "\"quoted\""}));
            const QByteArray reported = (program.canonicalPath() + "\ntwo words\n\n\"quoted\"").toUtf8();
            QTRY_COMPARE_WITH_TIMEOUT(readFile(report), reported, 30000);
        }
        QVERIFY2(!Corvane::launchDetached("cmake", {}), "PATH is not looked through");
    }
    void everyPixelIsSwizzled()
    {
        unsigned char in[860];
        QRandomGenerator(1).generate(std::begin(in), std::end(in));
        std::vector<unsigned char> out(960, 0xaa);
        Corvane::SwizzleForDrell(out.data(), in);
        for (int y = 0; y < 48; ++y) {
            for (int x = 0; x < 160; ++x)
                QCOMPARE(bool(out[y / 8 * 160 + x] & 1 << y % 8), y < 43 && in[y * 20 + x / 8] & 0x80 >> x % 8);
        }
    }

private:
    /// A file of this content.
    QString file(const QByteArray& content) const
    {
        writeFile(m_sandbox.path() + "/file", content);
        return m_sandbox.path() + "/file";
    }

    SettingsSandbox m_sandbox;
};

/// Writes its working directory and the words behind the first, a line each, to the file that the first one names.
static int report(const QStringList& words)
{
    writeFile(words.first(), (QStringList(QDir::currentPath()) + words.mid(1)).join('\n').toUtf8());
    return 0;
}

TEST_OR_CHILD_MAIN(tst_Corvane, report)

#include "tst_Corvane.moc"
