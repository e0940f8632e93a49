#include "HostFixture.h"

#include <HttpSite.h>
#include <MachineProgram.h>
#include <Norvale/cVersion.h>
#include <NotHere.h>

/// The page is the table: what each row names is done, and has to be told in the words that the row shows. The steps
/// stand in mistakes/steps.txt, a line for each row: each is a function here, with a line of words. All is done in a
/// fresh folder, the installation being its folder "suite".
class tst_Mistakes : public QObject
{
    Q_OBJECT

public slots:
    /// A plugin of the installation: its name, and what writePlugin() is to know. Only with "lazy" it has to be asked
    /// for.
    void plugin(const QString& words)
    {
        const QString name = words.section(' ', 0, 0);
        QString manifest = words.section(' ', 1);
        if (!manifest.startsWith('<') && !manifest.contains("lazy"))
            manifest.prepend("auto ");
        const QString folder = writePlugin(m_root + "/suite", name + "-1.00.000", manifest, MISTAKEN_LIBRARY);
        for (const char* library : {UNRESOLVED_LIBRARY, OTHER_QT_LIBRARY})
            QFile::copy(library, folder + QFileInfo(library).fileName());
        m_plugins += "<plugin name='" + name + "' version='1.0.0'/>";
    }
    /// That plugin in a start.
    void start(const QString& words)
    {
        plugin(words);
        vcore("--start-only");
    }
    /// A plugin that uses another one wrongly, in a start.
    void guest(const QString& mistake)
    {
        plugin("Hello gives:Hello");
        start("Guest needs:Hello enters:createGuest {\"mistake\":\"" + mistake + "\"}");
    }
    void feature(const QString& name) { m_feature = name; }
    void vcore(const QString& line)
    {
        writeFeatures();
        note(m_fixture.run(wordsOf(line), m_faults, m_root));
        m_faults.clear();
    }
    void norvale(const QString& line) { note(runToEnd(NORVALE_PROGRAM, wordsOf(line), {}, m_root)); }
    void host(const QString& mistake)
    {
        plugin("Hello");
        writeFeatures();
        note(runToEnd(MISTAKEN_HOST, {mistake}, {}, m_root));
    }
    /// VCore with that command line beside a running host.
    void beside(const QString& line)
    {
        if (m_plugins.isEmpty())
            plugin("Hello gives:Hello");
        writeFeatures();
        if (!m_fixture.serve({"--log", m_root + "/log.txt"}))
            m_said += "the host does not serve\n";
        vcore(line);
        m_fixture.quit();
        m_said += QString::fromUtf8(readFile(m_root + "/log.txt"));
    }
    void call(const QString& line) { beside("--call " + line); }
    /// Makes the package of a plugin: name, version and what it holds.
    void package(const QString& words)
    {
        const QStringList parts = wordsOf(words);
        const QString folder = parts[0] + '-' + cVersion(parts[1]).toString();
        const QString manifest = "<manifest><plugin name='%1' version='%2' runtime_api_version='13'/></manifest>";
        writeFile(in(folder + "/Manifest.xml"), manifest.arg(parts[0], parts[1]).toUtf8());
        writeFile(in(folder + "/more.txt"), parts.value(2).toUtf8() + ' ');
        norvale("pack " + folder);
    }
    /// A repository description beside its package: version of feature and repository, name and version of the plugin.
    void publish(const QString& words)
    {
        const QStringList parts = wordsOf(words);
        const QByteArray bytes = readFile(in(parts[1] + '-' + cVersion(parts[2]).toString() + ".zip"));
        const QString text = "<repository name='main' version='%1'><feature name='Core' version='%1' active='true'>"
                             "<plugins><plugin name='%2' version='%3'><hash method='sha1'>%4</hash></plugin></plugins>"
                             "</feature></repository>";
        const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
        writeFile(in("repository.xml"), text.arg(parts[0], parts[1], parts[2], QString(hash)).toUtf8());
    }
    void write(const QString& words)
    {
        writeFile(in(words.section(' ', 0, 0)), words.section(' ', 1).replace("\\n", "\n").toUtf8());
    }
    /// As who makes a package by hand, out of a folder.
    void zip(const QString& words)
    {
        if (MachineProgram::execute("python3", QStringList{"-m", "zipfile", "-c"} + wordsOf(words), m_root) != 0)
            m_said += "no zip\n";
    }
    void damage(const QString& path) { writeFile(in(path), readFile(in(path)) + "x"); }
    void rename(const QString& words) { QFile::rename(in(words.section(' ', 0, 0)), in(words.section(' ', 1))); }
    void machine(const QString& words)
    {
        m_fixture.setMachineValue("ConfigMgr/" + words.section(' ', 0, 0), words.section(' ', 1));
    }
    void installDir(const QString& folder) { m_fixture.useSuite(folder); }
    /// The next run of VCore finds the disk so.
    void disk(const QString& fault)
    {
#ifdef FILE_FAULTS
        m_faults = faultsBelow(m_root + "/suite", fault);
#else
        Q_UNUSED(fault)
#endif
    }

private slots:
    void init()
    {
        m_root = m_fixture.path(QString("mistake%1").arg(++m_count));
        QDir().mkpath(m_root);
        m_plugins.clear();
        m_said.clear();
        m_feature = "Core";
        m_fixture.useSuite(m_root + "/suite");
        for (const char* key : {"Locale", "RepositoryName", "RepositoryVersion"})
            m_fixture.setMachineValue(QString("ConfigMgr/") + key, QString());
        QDir(m_site.folder()).removeRecursively();
    }
    void areTold_data()
    {
        static const QRegularExpression line("^\\| <a id=\"([^\"]+)\"></a>.* \\| (`.*`) \\| .* \\|$");
        const Rows<QString, QString> row("messages", "steps");
        QMap<QString, QString> steps;
        for (const QString& text : linesOf(MISTAKES_STEPS))
            steps[text.section(": ", 0, 0)] = text.section(": ", 1);
        int count = 0;
        for (const QString& text : linesOf(MISTAKES_PAGE)) {
            const QRegularExpressionMatch match = line.match(text);
            QVERIFY2(match.hasMatch() || !text.contains("<a id="), qPrintable("not as a row should be: " + text));
            if (!match.hasMatch() || match.captured(1).startsWith("cmake-")) // those are made by package.misuse
                continue;
            row(qPrintable(match.captured(1)), match.captured(2), steps.take(match.captured(1)));
            ++count;
        }
        QVERIFY2(steps.isEmpty(), qPrintable("on the page are no rows for: " + steps.keys().join(", ")));
        QVERIFY2(count >= 30, qPrintable(QString::number(count)));
    }
    /// The steps are separated by "; ". SITE in them is the folder of an update site, URL its address.
    void areTold()
    {
        SKIP_WHERE_LISTED();
        auto [messages, steps] = cells<QString, QString>("messages", "steps");
        steps.replace("SITE", m_site.folder()).replace("URL", m_site.url().toString());
        for (const QString& step : steps.split("; "))
            QVERIFY2(QMetaObject::invokeMethod(this, step.section(' ', 0, 0).toLatin1(),
                                               Q_ARG(QString, step.section(' ', 1))),
                     qPrintable("no such step: " + step));
        for (const QString& message : messages.mid(1).chopped(1).split("`<br>`")) {
            QStringList parts = message.split("…");
            for (QString& part : parts)
                part = QRegularExpression::escape(part);
            QVERIFY2(m_said.contains(QRegularExpression(parts.join(".*"))),
                     qPrintable(message + "\nwas not said in:\n" + m_said));
        }
    }

private:
    static QStringList linesOf(const char* path)
    {
        return QString::fromUtf8(readFile(path)).split('\n').filter(QRegularExpression("\\S"));
    }
    QString in(const QString& path) const
    {
        return QDir(m_root).absoluteFilePath(path);
    }
    void writeFeatures()
    {
        const QString text = "<repository name='main' version='1.0.0'><feature name='%1' version='1.0.0' active='true'>"
                             "<plugins>%2</plugins></feature></repository>";
        if (!m_plugins.isEmpty())
            writeFile(m_root + "/suite/plugins/features.xml", text.arg(m_feature, m_plugins).toUtf8());
    }
    void note(const Ended& ended)
    {
        m_said += ended.output + ended.reasons + QString("[%1]\n").arg(ended.code);
    }

    HostFixture m_fixture;
    HttpSite m_site;
    QString m_root;
    QString m_plugins;
    QString m_feature;
    QString m_said;
    Variables m_faults;
    int m_count = 0;
};

QTEST_GUILESS_MAIN(tst_Mistakes)
#include "tst_Mistakes.moc"
