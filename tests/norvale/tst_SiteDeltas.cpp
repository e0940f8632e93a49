#include "SiteFixture.h"

class tst_SiteDeltas : public QObject, private SiteFixture
{
    Q_OBJECT

    /// The package of P in version @p version.0.0, which is like the others but for a few bytes; by norvale pack, or as
    /// the shell does it in the plugin's folder.
    void makeVersion(int version, const QString& packing = QString(), uint seed = 1) const
    {
        QByteArray content(40000, Qt::Uninitialized);
        QRandomGenerator random(seed);
        for (char& byte : content)
            byte = char(random.bounded(64)); // so that deflating makes it smaller
        content.insert(1000 * version, "version " + QByteArray::number(version));
        const QString folder =
            m_tool.makePlugin("P", QString::number(version) + ".0.0", "", {{"deep/data.bin", content}, {"empty", ""}});
        if (packing.isEmpty())
            QCOMPARE(m_tool.run({"pack", folder}).code, 0);
        else
            shell(packing.arg(folder), folder);
    }
    Ended publish(int version, const QString& more = QString()) const
    {
        const QString number = QString::number(version);
        return add("P-" + number + ".00.000.zip", "F", number + ".0.0", "--depends= " + more);
    }
    /// Versions 1 to 3 without patches, and 4 with @p more.
    void makeSite(const QString& more) const
    {
        for (int version = 1; version <= 4; ++version) {
            makeVersion(version);
            QCOMPARE(publish(version, version < 4 ? QString() : more).code, 0);
        }
    }

    static QString name(int from) { return QString("P-4.00.000-from-%1.00.000.delta").arg(from); }
    QStringList patches(const QString& status = "main") const
    {
        return QDir(m_tool.path("site/" + status + "/packages")).entryList({"*.delta"});
    }

private slots:
    void initTestCase()
    {
        m_tool.begin();
        const Ended ended = m_tool.run("site add site P.zip --feature F --feature-version 1.0.0 --deltas 1");
        if (ended.code == 2 && ended.reasons.contains("libdivsufsort"))
            QSKIP("this build makes no patches");
    }
    void init() { m_tool.begin(); }

    void publishes_data()
    {
        const Rows<QString> row("packing");
        row("norvale pack", "");
        row("Python", "python3 -m zipfile -c ../%1.zip *");
        row("Info-ZIP", "zip -qr9 ../%1.zip *");
        row("stored", "zip -qr0 ../%1.zip *");
    }
    void publishes()
    {
        const auto [packing] = cells<QString>("packing");
        for (int version = 1; version <= 4; ++version)
            makeVersion(version, packing);
        for (int version = 1; version < 4; ++version)
            QCOMPARE(publish(version).code, 0);
        const Ended ended = publish(4, "--deltas 2 --json");
        QVERIFY2(ended.code == 0, qPrintable(ended.reasons));
        QCOMPARE(patches(), QStringList({name(2), name(3)}));
        for (const QJsonValue& patch : ToolFixture::jsonOf(ended)["deltas"].toArray())
            QVERIFY2(patch["percent"].toInt(100) < 10, qPrintable(ended.output));
        QVERIFY(publish(4, "--deltas 2").output.contains("nothing is new in"));
        QCOMPARE(repository().count("<delta from="), 2);

        // What is published stays, also where nobody asks for it again; the third one can come later.
        const Tree before = offered();
        QCOMPARE(publish(4).code, 0);
        QVERIFY(offered() == before);
        QVERIFY(publish(4, "--deltas 3").output.contains("patch of P-4.00.000 from 1.00.000: "));
        verifyCheck(0, "applied 3 patches");
        QVERIFY(m_tool.run("site list site").output.contains("P-4.00.000 (patches from 3.00.000, 2.00.000, 1.00.000)"));
    }

    void leavesOutWhatSavesNothing()
    {
        for (int version = 1; version <= 2; ++version) {
            makeVersion(version, QString(), uint(version));
            const Ended ended = publish(version, "--deltas 3");
            QCOMPARE(ended.code, 0);
            QCOMPARE(ended.output.contains("no patch of P-2.00.000 from 1.00.000: it would be"), version == 2);
        }
        QCOMPARE(patches(), QStringList());
        QVERIFY(!repository().contains("<delta"));
    }

    // Of stretches that resemble others in part, some are taken whole by those beside them.
    void publishesForWhatIsPutTogetherAnew()
    {
        QRandomGenerator random(5);
        const auto letter = [&] { return char(random.bounded(64)); };
        const auto part = [&](const QByteArray& text) {
            const int begin = random.bounded(text.size());
            return text.mid(begin, random.bounded(100));
        };
        QByteArray old, fresh;
        while (old.size() < 50000) {
            for (int i = 0; i < 40; ++i)
                old += letter();
            old += part(old);
        }
        while (fresh.size() < old.size()) {
            fresh += part(old);
            for (int i = 0; i < 4; ++i)
                fresh[qMax(0, int(fresh.size()) - 1 - random.bounded(50))] = letter();
        }
        for (const auto& version : {std::pair(1, old), {2, fresh}}) {
            const QString number = QString::number(version.first) + ".0.0";
            const QString folder = m_tool.makePlugin("P", number, "", {{"data.bin", version.second}});
            QCOMPARE(m_tool.run({"pack", folder}).code, 0);
            QCOMPARE(publish(version.first, "--deltas 1").code, 0);
        }
        verifyCheck(0, "applied 1 patch");
    }

    void isChecked_data()
    {
        const Rows<QString, int, QString> row("shell", "code", "said");
        row("nothing", "", 0, "applied 3 patches");
        row("a changed patch", "printf x | dd of=P-4.00.000-from-3.00.000.delta bs=1 seek=60 conv=notrunc status=none",
            1, "[source-hash]");
        row("a longer patch", "echo >>P-4.00.000-from-3.00.000.delta", 1, "[source-size]");
        row("a patch that is gone", "rm P-4.00.000-from-3.00.000.delta", 1, "[source-dead]");
        row("a patch of another version",
            "sed -i 's/from=\"3.0/from=\"9.0/; s/from=\"2.0/from=\"3.0/' ../repository.xml", 1, "[delta-rebuild]");
        row("an older package that is gone", "rm P-1.00.000.zip", 0, "1 patch only in size and hash");
    }
    void isChecked()
    {
        const auto [change, code, said] = cells<QString, int, QString>("shell", "code", "said");
        makeSite("--deltas 3");
        shell(change, "site/main/packages");
        verifyCheck(code, said);
    }

    // They go where their package goes, signed like it.
    void followsItsPackage()
    {
        QCOMPARE(m_tool.run("site keys init site --keys keys").code, 0);
        makeSite("--deltas 3 --keys keys");
        QCOMPARE(m_tool.run("site promote site --from release --to beta --keys keys").code, 0);
        QCOMPARE(patches("main-beta"), patches());
        shell("test $(grep -o '[.]delta\"' $(ls -v site/tuf/*.targets.json | tail -1) | wc -l) = 6");
        verifyCheck(0, "3 patches only in size and hash");

        m_tool.write("site/main/packages/P-4.00.000-from-me.txt", "somebody's own");
        QCOMPARE(m_tool.run("site retire site F-4.0.0 --keep 0 --keys keys").code, 0);
        QCOMPARE(patches(), QStringList());
        QVERIFY(QFile::exists(m_tool.path("site/main/packages/P-4.00.000-from-me.txt")));
        QCOMPARE(patches("main-beta").size(), 3);
        QCOMPARE(check().code, 0);
    }
};

QTEST_GUILESS_MAIN(tst_SiteDeltas)
#include "tst_SiteDeltas.moc"
