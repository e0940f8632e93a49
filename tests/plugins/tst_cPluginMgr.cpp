#include "InstalledSuite.h"

#include <Rows.h>

/// The plugin manager and its records, with real plugin libraries. Sets that cannot be ordered end the process; that is
/// seen from outside, in the host's tests.
class tst_cPluginMgr : public QObject
{
    Q_OBJECT

private slots:
    void runs_data()
    {
        const Rows<QStringList, QStringList, QStringList, QString> row("plugins", "steps", "logged", "journal");
        // In the order are C, I and ZentraSettings, then B and A at their second places.
        row("dependencies first, stop in reverse",
            {"A plain auto needs:C needs:B:2 needs:Core:Net", "B plain needs:C", "C plain", "I plain",
             "ZentraSettings plain"},
            {"start", "list", "stop", "stop"}, {},
            "start ZentraSettings, start C, start B, start A, started, "
            "2 A:5:Started* B:4:Started* C:1:Started* I:2:Ordered ZentraSettings:3:Started* , "
            "stop A, stop B, stop C, stop ZentraSettings");
        row("on request", {"A plain gives:a"}, {"load A", "start", "serve b", "serve a", "load A", "load a"},
            {"have not been started", "for the service \"b\": none declares it"},
            "no A, started, no b, start A, a there, A there, no a");
        row("on request of another thread", {"A plain", "B plain gives:A"}, {"start", "askInThread A", "events"}, {},
            "started, not at once, start A, start B");

        // What stays loaded without a plugin object does not keep those that need it from loading.
        const QStringList steps{"start", "load Fails", "list", "load NeedsIt"};
        for (const auto& [fixture, reason] :
             {std::pair("entryMissing", "\"create\""), {"entryNull", "answers null"}, {"throwsInEntry", "threw"}})
            row(fixture, {QString("Fails ") + fixture, "NeedsIt plain needs:Fails"}, steps, {reason},
                "started, no Fails, 2 Fails:1:Loaded NeedsIt:2:Ordered , start NeedsIt, NeedsIt there");
        const QString failed = "plugin \"NeedsIt\" is not loaded: a dependency failed (NeedsIt -> Fails)";
        row("no library", {"Fails none", "NeedsIt plain needs:Fails"}, steps,
            {failed, "does not exist", "does not exist"},
            "started, no Fails, 2 Fails:1:Ordered NeedsIt:2:Ordered , no NeedsIt");
        for (const auto& [fixture, reason] :
             {std::pair("startFails", "returned false"), {"throwsInStart", "out of paper"}})
            row(fixture, {QString("Fails ") + fixture, "NeedsIt plain needs:Fails"}, steps, {failed, reason, reason},
                "started, start Fails, no Fails, 2 Fails:1:Ordered NeedsIt:2:Ordered , start Fails, no NeedsIt");
        row("throwsInStop", {"A plain auto", "T throwsInStop auto"}, {"start", "stop", "list"},
            {"T-1.00.000 did not stop properly"},
            "start A, start T, started, stop T, stop A, 2 A:1:Stopped* T:2:Stopped* ");
        row("leavesService", {"Left leavesService"},
            {"start", "load Left", "list", "listen LeftEvents", "raise LeftEvents"},
            {"withdrew the service \"left\" of Left", "withdrew a listener of \"LeftEvents\" of Left"},
            "started, start Left, no Left, 2 Left:1:Ordered , changed");
        row("what a failed start has registered goes", {"Fails startFails", "G plain"},
            {"acts Fails lend; listen S; handle; hook; observe; load G", "acts G listen T", "start", "load Fails",
             "list", "raise S", "raise T", "send"},
            {"withdrew the service \"lent\" of Fails", "withdrew a listener of \"S\" of Fails",
             "withdrew a message handler of Fails", "withdrew a log hook of Fails", "withdrew the observer of Fails"},
            "started, start Fails, <lG, >, <sG, start G, >, G there, no Fails, 2 Fails:1:Ordered G:2:Started* , "
            "changed");
        row("a failing plugin is tried once in a start",
            {"B plain auto needs:F", "C plain auto needs:B", "F startFails auto", "G plain auto"},
            {"acts G load F", "start", "load B"},
            {"F-1.00.000 is not started", "F-1.00.000 is not started", "a dependency failed (B -> F)",
             "a dependency failed (B -> F)", "a dependency failed (C -> B)",
             "i plugin \"ZentraSettings\" is not installed"},
            "start F, start G, no F, started, start F, no B");
        row("a stop ends the start", {"A plain auto", "B plain auto", "C plain auto"},
            {"acts B stop; load A; load C", "start", "outcome", "load C", "load A", "start", "outcome"},
            {"a stop was asked for", "\"C\" is not loaded: the suite is being stopped",
             "\"C\" is not loaded: the suite has been stopped", "\"A\" is not loaded: the suite has been stopped",
             "has been stopped, and is not started again"},
            "start A, start B, A there, no C, stop B, stop A, not started, outcome 6 with 1 reasons, no C, no A, "
            "not started, outcome 7 with 1 reasons");
        row("a dependency stops the suite", {"A plain needs:D", "B plain", "D plain"},
            {"acts D stop; start", "acts B load A", "start", "load B", "list"},
            {"\"A\" is not loaded: the suite is being stopped", "has been stopped, and is not started again"},
            "started, start B, start D, not started, no A, stop B, stop D, B there, "
            "2 A:3:Ordered B:1:Stopped* D:2:Stopped* ");
        row("categories change while they are loaded",
            {"A plain in:a", "B plain in:b", "C plain in:c", "ZentraSettings plain"},
            {"acts ZentraSettings categories a+b", "acts A categories c; uninstall B; publish; start",
             "acts b categories c+c", "listen PluginMgrEvents", "categories x", "start", "start"},
            {"a start is under way"},
            "start ZentraSettings, start A, not started, a complete, b complete, started, start C, c complete, "
            "c complete, started");
        row("a library that is not what was installed",
            {"Cut plain auto", "Sound plain auto", "Long plain auto", "Unknown plain auto", "Developed plain auto"},
            {"record Cut", "record Sound", "record Long", "record Developed", "change Cut cut", "change Sound touch",
             "change Long append", "change Unknown cut", "change Developed append", "start"},
            {"Cut-1.00.000 is not loaded: its library", " instead of ", " instead of ",
             "the plugin has to be repaired or installed anew", "the plugin has to be repaired or installed anew",
             "Long-1.00.000 is not loaded: its library", "is cut short: it has "},
            "start Sound, start Developed, started");
        row("torn translation", {"A plain auto"}, {"tearTranslation A", "start"}, {}, "start A, started");

        // First asks for itself, for one that depends on it, and for Behind. Behind waits for Asks, whose start asks
        // for Behind in turn: that start is the one that counts.
        row("asks for others while starting",
            {"First plain auto", "Needs plain needs:First", "Asks plain", "Behind plain needs:Asks"},
            {"acts First load First; load Needs; load Behind", "acts Asks load First; load Needs; load Behind",
             "start"},
            {},
            "start First, First there, start Needs, Needs there, start Asks, First there, Needs there, "
            "start Behind, Behind there, Behind there, started");
        row("asks for itself while loading", {"Hasty loadsWhileLoading"},
            {"acts loading load Hasty", "start", "load Hasty"}, {"asks for itself"},
            "started, no Hasty, start Hasty, Hasty there");
        row("an observer that throws", {"A plain auto"}, {"observe", "anger", "start"},
            {"The observer threw an exception: lens cap", "The observer threw an exception: lens cap",
             "The observer threw an exception: lens cap", "The observer threw an exception of unknown type",
             "The observer threw an exception of unknown type", "The observer threw an exception of unknown type"},
            "<mA, >, <lA, >, <sA, start A, >, started");
        row("an observer that goes", {"A plain auto"}, {"acts A observe not", "observe", "start"}, {},
            "<mA, >, <lA, >, <sA, start A, started");
        row("spans", {"A plain auto", "B startFails"}, {"acts A load B", "observe", "start", "stop"}, {},
            "<mA, >, <mB, >, <lA, >, <sA, start A, <lB, >, <sB, start B, !>, no B, >, started, <pA, stop A, >");

        row("discovering starts nothing", {"A plain auto gives:a", "B plain needs:A"},
            {"outcome", "discover", "list", "start", "outcome"}, {},
            "outcome 0 with 0 reasons, discovered, 1 A:1:Ordered B:2:Ordered , start A, started, "
            "outcome 1 with 0 reasons");
        const QStringList faults{"version 12", "manifest of Torn-1.00.000", "Lost-1.00.000/Manifest.xml is missing",
                                 "the service \"S\" is declared twice: by plugin \"X\" and by plugin \"Y\"",
                                 "the service \"Z\" is declared twice: by plugin \"Z\" and by plugin \"Z\""};
        row("all faults are told at once",
            {"A plain auto needs:B needs:Absent", "B plain auto", "Old <m><plugin runtime_api_version='12'/></m>",
             "Torn <m>", "Lost plain", "X plain gives:S", "Y plain gives:S", "Z plain gives:Z gives:Z"},
            {"removeManifest Lost", "discover", "list", "start", "outcome", "load B"},
            faults + faults + QStringList("plugin \"A\" depends on \"Absent\", which is not installed"),
            "faulty, 1 A:0:Registered B:1:Ordered Old:2:Ordered Torn:3:Ordered Lost:4:Ordered X:5:Ordered Y:6:Ordered "
            "Z:7:Ordered , not started, outcome 4 with 5 reasons, no B");
        row("only the last publication counts", {"Gone <m>", "A plain auto"},
            {"discover", "uninstall Gone", "start", "load Gone"}, {}, "faulty, start A, started, no Gone");
        row("what is mended starts", {"A plain gives:a", "B plain auto gives:a", "T <m>"},
            {"start", "put A plain", "put T plain auto needs:B", "start", "serve a", "list"},
            {"declared twice", "manifest of T"},
            "not started, start B, start T, started, a there, 4 A:1:Ordered B:2:Started* T:3:Started* ");
        row("what is installed beside a running suite", {"A plain auto gives:a", "B plain gives:b", "C plain gives:c"},
            {"start", "put N plain needs:B gives:n", "put C plain gives:d", "uninstall A", "publish", "list", "serve n",
             "serve c", "serve d", "serve a", "load A"},
            {"for the service \"c\": none declares it", "for the service \"a\": none declares it"},
            "start A, started, 3 B:1:Ordered C:2:Ordered N:3:Ordered , start B, start N, n there, no c, start C, "
            "d there, no a, A there");
        row("what is installed beside a running suite is faulty", {"A plain auto", "B plain", "C plain gives:c"},
            {"start", "put B <m>", "put D plain gives:c", "publish", "load B", "load D", "load C"},
            {"manifest of B", "declared twice", "would not start as they are", "B-1.00.000 is not loaded",
             "D-1.00.000 is not loaded"},
            "start A, started, no B, no D, start C, C there");
        const QString missing = "%1-1.00.000 has started and not registered its service %2: is Q_OBJECT there, "
                                "Q_CLASSINFO(\"service\", ...) as declared?";
        const QStringList suite{"A plain auto needs:B", "B plain in:b needs:X gives:b", "C plain auto", "X <m>",
                                "ZentraSettings plain auto gives:s"};
        row("what is left out takes what depends on it along", suite,
            {"without X Unknown", "categories b", "discover", "list", "start", "why", "load A", "load X", "serve b",
             "list", "outcome"},
            {"w plugin \"Unknown\" cannot be left out: it is not installed", "i A-1.00.000 does not take part",
             "\"A\" is not loaded: depends on \"X\", which is left out (A -> B -> X)", "\"X\" is not loaded: left out",
             "\"B\" is not loaded: depends on \"X\", which is left out (B -> X)"},
            "discovered, 1 A:0:Registered B:0:Registered C:1:Ordered X:0:Registered ZentraSettings:2:Ordered , "
            "start ZentraSettings, start C, started, A: depends on \"X\", which is left out (A -> B -> X), "
            "B: depends on \"X\", which is left out (B -> X), C: , X: left out, ZentraSettings: " +
                missing.arg("ZentraSettings", "s") +
                ", "
                "no A, no X, no b, "
                "3 A:0:Registered B:0:Registered C:1:Started* X:0:Registered ZentraSettings:2:Started* , "
                "outcome 1 with 0 reasons");
        row("what is left out is another time taken in again", suite,
            {"without ZentraSettings C", "start", "put X plain", "without", "start", "load C"},
            {"the manifest of X-1.00.000 is faulty"},
            "not started, start ZentraSettings, start X, start B, start A, start C, started, C there");
        row("a service of what is left out may be declared by another", {"A plain gives:s", "B plain gives:s"},
            {"without A", "start", "serve s"}, {}, "started, start B, s there");
        row("why each plugin does not run",
            {"F startFails auto", "N plain in:n needs:F", "W plain needs:N auto", "E entryMissing auto", "L none auto",
             "S plain auto gives:s gives:t", "A plain in:a", "Out plain"},
            {"without Out", "categories m+n", "discover", "why", "start", "call t", "put New plain auto", "publish",
             "why", "stop"},
            {"w no installed plugin has the load category \"m\"; there are \"a\", \"n\"", "w " + missing.arg("S", "s"),
             "w " + missing.arg("S", "t")},
            "discovered, F: , N: , W: , E: , L: , S: , A: , Out: left out, start F, start S, started, "
            "Cannot call \"x\" of the service \"t\": S-1.00.000 has started and not registered its service t: is "
            "Q_OBJECT "
            "there, Q_CLASSINFO(\"service\", ...) as declared?, "
            "F! F-1.00.000 is not started: its start returned false (/F-1.00.000/startFails); the log channel "
            "\"F\" is where the plugin can say why, "
            "N! waits for \"F\", which has failed, W! waits for \"N\", which has failed, "
            "E! E-1.00.000 is not loaded: the entry function \"create\" of its library /E-1.00.000/entryMissing does "
            "not exist: is it extern \"C\", exported, and named so in the manifest?, "
            "L! L-1.00.000 is not loaded: its library /L-1.00.000/none does not exist, "
            "S: " +
                missing.arg("S", "s") + "; " + missing.arg("S", "t") +
                ", "
                "A: not asked for, Out: left out, New: installed since the start, stop S");
        const QString whyNot =
            "A! plugin \"A\" depends on \"Zed\", which is not installed (/A-1.00.000/Manifest.xml); is \"Zeb\" meant?, "
            "B! plugins depend on each other in a circle: A -> B -> A; one of these dependencies has to go, such as "
            "that in /A-1.00.000/Manifest.xml, "
            "C! waits for \"A\", which has no place in the start order, Zeb: %1, "
            "Old! Old-1.00.000 is made for the runtime API version 12; this is version 13, for which it has to be "
            "built anew (/Old-1.00.000/Manifest.xml)";
        row("why no plugin runs",
            {"A plain needs:B needs:Zed", "B plain needs:A", "C plain needs:A", "Zeb plain",
             "Old <m><plugin runtime_api_version='12' autolaod='true'><servces/></plugin></m>"},
            {"discover", "why", "start", "why"},
            {"w the manifest of Old-1.00.000: ", "w the manifest of Old-1.00.000: ", "Manifest.xml, line 1, column ",
             "Manifest.xml, line 1, column ",
             ": the attribute \"autolaod\" of <plugin> is not read; is \"autoload\" meant?",
             ": <servces> in <plugin> is not read; is \"services\" meant?"},
            "faulty, " + whyNot.arg("") + ", not started, " + whyNot.arg("the suite has not been started"));
        const QStringList told{"F startFails auto", "N plain needs:F auto", "S plain auto", "T throwsInStop"};
        row("states are told", told, {"watch", "discover", "start", "load T", "stop"}, {},
            "F=Ordered, N=Ordered, S=Ordered, T=Ordered, discovered, F=Loaded, start F, F=Ordered, N=Ordered, "
            "S=Loaded, start S, S=Started, started, T=Loaded, start T, T=Started, T there, stop T, T=Stopped, stop S, "
            "S=Stopped");
        row("states are told later", {"S plain auto"}, {"watch queued", "start", "events", "stop"}, {},
            "start S, started, S=Ordered, S=Loaded, S=Started, stop S");
        row("who is told may ask for more, and throw", told,
            {"acts F=Ordered load F; load T", "acts N=Ordered load N", "acts T=Loaded load T", "acts S=Started stop",
             "acts S=Stopped load S; load N", "anger", "watch", "start"},
            QVector<QString>(13, "A receiver of a plugin's state threw an exception: no thanks").toList(),
            "F=Ordered, no F, no T, N=Ordered, no N, S=Ordered, T=Ordered, F=Loaded, start F, F=Ordered, no F, "
            "T=Loaded, T there, start T, T=Started, T there, N=Ordered, no N, S=Loaded, start S, S=Started, stop S, "
            "S=Stopped, S there, no N, stop T, T=Stopped, not started");
        QStringList circle;
        for (int i = 0; i < 30; ++i)
            circle.append(QString("P%1 plain auto needs:P%2").arg(i).arg((i + 1) % 30));
        row("a circle is left out whole", circle, {"without P29", "start", "load P0"},
            {"\"P0\" is not loaded: depends on \"P29\", which is left out (P0 -> P1 -> P2 -> P3 -> P4 -> P5 -> P6 -> "
             "P7 -> ... -> P22 -> P23 -> P24 -> P25 -> P26 -> P27 -> P28 "
             "-> P29)"},
            "started, no P0");
        QStringList chain; // of which only the last one has a library
        for (int i = 0; i < 1000; ++i)
            chain.append(QString("%1 <m><plugin runtime_api_version='13'> needs:%2 </plugin></m>").arg(i).arg(i + 1));
        row("a library of another Qt", // asked for three times
            {"Old ../../support/OtherQt/OtherQt auto gives:old", "N plain auto needs:Old", "A plain auto"},
            {"start", "load Old", "serve old"},
            {"is built with Qt", "is built with Qt", "is built with Qt", "a dependency failed (N -> Old)"},
            "start A, started, no Old, no old");
        row("long chain", chain << "1000 plain", {"start", "load 0"},
            {"999-1.00.000 is not loaded: its manifest names no library"}, "started, start 1000, no 0");
    }
    void runs()
    {
        const auto [plugins, steps, logged, journal] =
            cells<QStringList, QStringList, QStringList, QString>("plugins", "steps", "logged", "journal");
        const int begin = cLogCentral::history().size();
        cInstalledSuite suite(plugins);
        for (const QString& step : steps)
            suite.take(step);
        QVERIFY2(suite.journal.join(", ") == journal, qPrintable(suite.journal.join(", ")));
        QStringList lines;
        for (const cLogEntry& line : cLogCentral::history().mid(begin))
            lines.append(line.channel == "PluginMgr" ? "iwe"[line.level] + (' ' + line.message) : QString());
        for (const QString& text : logged)
            QVERIFY2(lines.filter(text).size() == logged.count(text), qPrintable(text));
    }
    void record()
    {
        cInstalledSuite suite({"Foo plain needs:B needs:C gives:a",
                               "Bar <m><plugin><start><params>{\"a\":1}</params></start></plugin></m>"});
        cPluginInstance plugin({"Foo", cVersion("1.0")});
        plugin.setFolder("#Default");
        QCOMPARE(plugin.folder(), QString("#Default"));
        plugin.setFolder("#default");
        QCOMPARE(plugin.folder(), QString("core:plugins/Foo-1.00.000"));
        QVERIFY(plugin.readManifest());
        QVERIFY(plugin.readManifest()); // the later reading replaces
        QCOMPARE(plugin.dependencies() + plugin.services(), QStringList({"B", "C", "a"}));
        QVERIFY(!plugin.loadLibrary());
        QCOMPARE(plugin.errorString(), QString("its manifest has not been accepted"));
        plugin.judge(true);
        QVERIFY(plugin.loadLibrary());
        QVERIFY(plugin.isLibraryLoaded());
        QVERIFY(plugin.hasPluginObject());
        QVERIFY(plugin.unloadLibrary());
        QVERIFY(!plugin.hasPluginObject());
        QVERIFY(!plugin.start());
        QCOMPARE(plugin.errorString(), QString("it has no plugin object"));

        const cPluginContext own(plugin);
        const IPluginContext& context = own;
        plugin.setFolder(suite.folderOf("Bar"));
        QVERIFY(plugin.readManifest());
        QCOMPARE(context.name(), QString("Foo"));
        QVERIFY(context.params()["a"] == 1);
        context.log().warning() << "hello" << Qt::endl;
        QCOMPARE(cLogCentral::history().last().channel, QString("Foo"));
    }
};

QTEST_GUILESS_MAIN(tst_cPluginMgr)
#include "tst_cPluginMgr.moc"
