#include "ForgedSite.h"

#include "config/cTrustDownload.h"
#include "trust/cTrustClient.h"

/// What an attacker serves. Each attack is refused by its plain name and changes nothing that was trusted, and the next
/// honest refresh succeeds.
class tst_Attacks : public QObject
{
    Q_OBJECT

    ForgedSite m_site;

    /// A script, "[BEFORE |] ATTACK [| AFTER]", has the steps before the first refresh, the attack, and what the
    /// publisher does then, else heal(). Then the reason, and the versions that are trusted after the attack.
    using Attacks = Rows<QString, QString, QString>;

    static void rollbacks(const Attacks& row)
    {
        row("rollback of timestamp", "publish() | timestamp.version = 2; put(timestamp)",
            "version 2 is older than what was seen, 3", "1 3 2 2");
        row("rollback of snapshot", "publish(snapshot) | snapshot.version = 2; publish()",
            "older than what was seen, 3", "1 3 3 2");
        row("rollback of targets", "publish(targets) | targets.version = 1; publish(snapshot)",
            "older than what was seen, 3", "1 4 3 3");
        row("rollback of delegated", "delegate('x'); release() | roles['x'].version = 1; publish(snapshot)",
            "older than what was seen, 2", "1 4 3 3");
        row("rollback under new keys of targets",
            "pass | rotate(targets, 'new'); publish(root, targets); timestamp.version = 1; put(timestamp) | "
            "timestamp.version = 3; put(timestamp)",
            "version 1 is older than what was seen, 2", "2 2 2 2");
        row("targets left out", "snapshot.version, snapshot.meta = 3, {}; put(snapshot); publish()", "targets.json",
            "1 3 2 2");
        row("delegated left out",
            "delegate('x'); release() | del snapshot.meta['x.json']; snapshot.version = 4; put(snapshot); publish()",
            "x.json", "1 4 3 3");
        row("rollback of root", "publish(root) | root.version = 1; put(root, to='/tuf/3.root.json')", "version 1",
            "2 2 2 2");
        row("root left out", "root.version = 3; put(root, to='/tuf/2.root.json')", "version 3", "1 2 2 2");
    }

    static void freezesAndMixes(const Attacks& row)
    {
        row("expired root", "pass | root.expires = PAST; publish(root) | root.expires = FUTURE; publish(root)",
            "expired on 2020-01-01 00:00 UTC", "2 2 2 2");
        row("snapshot of another state", "publish(snapshot); snapshot.x = 11; put(snapshot)", "3.snapshot.json",
            "1 3 2 2");
        row("targets of another state", "publish(targets); targets.spec_version = '1.0.30'; put(targets)", "SHA-256",
            "1 3 3 2");
        row("the same snapshot of another digest",
            "timestamp.version = 3; timestamp.meta['snapshot.json']['hashes'] = {'sha512': '00' * 64}; put(timestamp)",
            "2.snapshot.json is refused: its SHA-512 is not", "1 3 2 2");
        row("older targets in their place",
            "new(full=False) | publish(targets); files['/tuf/3.targets.json'] = files['/tuf/2.targets.json']",
            "version 2", "1 3 3 2");
        row("newer snapshot than said",
            "new(full=False) | publish(snapshot); snapshot.version = 9; put(snapshot, to='/tuf/3.snapshot.json')",
            "version 9", "1 3 2 2");
        row("newer targets than said",
            "new(full=False) | publish(targets); targets.version = 9; put(targets, to='/tuf/3.targets.json')",
            "version 9", "1 3 3 2");
        row("one role for another, of one key",
            "new(); rotate(timestamp, 'one'); rotate(snapshot, 'one'); put(root, snapshot); publish() | "
            "files['/tuf/timestamp.json'] = files['/tuf/2.snapshot.json']",
            "snapshot", "1 3 2 2");
    }

    static void lengths(const Attacks& row)
    {
        row("endless snapshot of no length",
            "new(full=False) | publish(snapshot); faults['/tuf/3.snapshot.json'] = '~endless'", "3.snapshot.json",
            "1 3 2 2");
        row("huge root", "publish(root); faults['/tuf/2.root.json'] = '~fill=600000'", "2.root.json", "1 2 2 2");
        row("huge timestamp", "publish(); faults['/tuf/timestamp.json'] = '~fill=20000'", "timestamp.json", "1 2 2 2");
        row("no byte of it", "publish(snapshot); timestamp.meta['snapshot.json']['length'] = 0; put(timestamp)",
            "3.snapshot.json is refused: has more than 0 bytes", "1 3 2 2");
        row("longer than said", "publish(targets); files['/tuf/3.targets.json'] += b' '", "3.targets.json", "1 3 3 2");
        row("shorter than said", "publish(targets); files['/tuf/3.targets.json'] = b'{}'", "has 2 bytes instead of",
            "1 3 3 2");
        row("missing", "publish(targets); del files['/tuf/3.targets.json']", "3.targets.json", "1 3 3 2");
        row("no JSON", "files['/tuf/timestamp.json'] = b'<html></html>'", "timestamp.json is refused: line 1, column ",
            "1 2 2 2");
        row("no timestamp", "del files['/tuf/timestamp.json']", "timestamp.json", "1 2 2 2");
        row("no root to be had", "faults['/tuf/2.root.json'] = '~status=500'", "2.root.json", "1 2 2 2");
    }

    static void thefts(const Attacks& row)
    {
        const QString two = "new(keys=2, threshold=2) | ";
        row("one stolen key of root", two + "root.by = root.by[:1]; publish(root)", "signed by 1 of 2 keys", "1 2 2 2");
        row("one stolen key of timestamp", two + "timestamp.by = timestamp.by[:1]; publish()", "signed by 1 of 2 keys",
            "1 2 2 2");
        row("one stolen key of snapshot", two + "snapshot.by = snapshot.by[:1]; publish(snapshot)",
            "signed by 1 of 2 keys", "1 3 2 2");
        row("one stolen key of targets", two + "targets.by = targets.by[:1]; publish(targets)", "signed by 1 of 2 keys",
            "1 3 3 2");
        row("root by the new keys alone", "rotate(root, 'r'); root.by = [key('r')]; publish(root)",
            "signed by 0 of 1 key", "1 2 2 2");
        row("root by the old keys alone", "old = root.by; rotate(root, 'r'); root.by = old; publish(root)",
            "signed by 0 of 1 key", "1 2 2 2");
        row("root by one of two old keys",
            two + "old = root.by; rotate(root, 'r', threshold=1); root.by = [key('r'), old[0]]; publish(root)",
            "signed by 1 of 2 keys", "1 2 2 2");
        row("another role's key", "timestamp.by = snapshot.by; publish()", "signed by 0 of 1 key", "1 2 2 2");
        row("changed after signing", "publish(); put(timestamp, lambda d: d['signed'].update(version=9))",
            "signed by 0 of 1 key", "1 2 2 2");
        row("a number for another", "publish(); timestamp.x = 1; put(timestamp, lambda d: d['signed'].update(x=True))",
            "signed by 0 of 1 key", "1 2 2 2");
        const QString after = " | rotate(timestamp, 'after', threshold=1); publish(root, timestamp)";
        row("one key under two ids",
            "pass | rotate(timestamp, key('t'), key('t', id='ab' * 32), threshold=2); publish(root, timestamp)" + after,
            "signed by 1 of 2 keys", "2 - - 2");
        row("a role whose key is missing",
            "pass | rotate(timestamp, 't'); del root.keys[key('t').id]; publish(root, timestamp)" + after,
            "signed by 0 of 1 key", "2 - - 2");
    }

private slots:
    void refuses_data()
    {
        const Attacks row("script", "reason", "kept");
        rollbacks(row);
        freezesAndMixes(row);
        lengths(row);
        thefts(row);
    }
    void refuses()
    {
        const auto [script, reason, kept] = cells<QString, QString, QString>("script", "reason", "kept");
        const QStringList parts = script.split(" | ");
        m_site.beginFetched(parts.size() > 1 ? parts[0] : "pass");
        Tree before = m_site.tool().tree("trust");

        m_site.forge(parts.value(parts.size() > 1));
        REFUSES(m_site.refresh(), reason);
        QCOMPARE(m_site.versions(), kept);
        for (const auto& [name, content] : m_site.tool().tree("trust")) {
            if (ForgedSite::versionOf(content) == ForgedSite::versionOf(before[name]))
                QCOMPARE(content, before[name]);
        }
        m_site.forge(parts.value(2, "heal()"));
        SUCCEEDS(m_site.refresh());
    }

    /// An attacker with the keys of a role makes its version so high that no honest one follows. New keys end that.
    void recovers_data()
    {
        const Rows<QString, QString> row("attack", "recovery");
        row("timestamp", "timestamp.version = 2**31; publish()", "rotate(timestamp, 'new'); publish(root, timestamp)");
        row("timestamp, by a key more", "timestamp.version = 2**31; publish()",
            "rotate(timestamp, timestamp.by[0], 'new', threshold=2); publish(root, timestamp)");
        row("snapshot", "snapshot.version = 2**31; publish(snapshot)",
            "rotate(snapshot, 'new'); publish(root, snapshot)");
        row("targets", "targets.version = 2**31; publish(targets)", "rotate(snapshot, 'new'); publish(root, targets)");
        row("all", "targets.version = snapshot.version = timestamp.version = 2**53 + 1; publish(targets)",
            "rotate(timestamp, 'a'); rotate(snapshot, 'b'); rotate(targets, 'c'); publish(root, targets)");
        row("broken off", "snapshot.version = 2**31; publish(snapshot)",
            "rotate(snapshot, 'new'); publish(root, snapshot); faults['/tuf/timestamp.json'] = '~cut=+60'");
    }
    void recovers()
    {
        const auto [attack, recovery] = cells<QString, QString>("attack", "recovery");
        m_site.begin("pass");
        m_site.forge(attack);
        SUCCEEDS(m_site.refresh());
        m_site.forge("heal()");
        REFUSES(m_site.refresh(), "older than what was seen");
        m_site.forge(recovery);
        if (recovery.contains("faults"))
            REFUSES(m_site.refresh(), "timestamp.json");
        m_site.forge("faults.clear()");
        SUCCEEDS(m_site.refresh());
        QVERIFY(m_site.versions().startsWith("2 13 1"));
    }

    /// Steps before the first refresh, those after it, and how much later the second one comes.
    void timePasses_data()
    {
        const Rows<QString, QString, int, QString, QString> row("before", "then", "days", "reason", "kept");
        const QString timestamp = "timestamp.expires = days(10); publish()";
        row("frozen", timestamp, "pass", 20, "expired on", "1 3 2 2");
        row("not frozen yet", timestamp, "pass", 9, "", "1 3 2 2");
        row("renewed", timestamp, "timestamp.expires = FUTURE; publish()", 20, "", "1 4 2 2");
        row("rolled back behind an expired timestamp", timestamp,
            "timestamp.expires, timestamp.version = FUTURE, 2; put(timestamp)", 20, "older than what was seen, 3",
            "1 3 2 2");
        row("rolled back behind an expired snapshot", "snapshot.expires = days(10); publish(snapshot)",
            "snapshot.expires, snapshot.version = FUTURE, 2; publish()", 20, "older than what was seen, 3", "1 3 3 2");
        row("rolled back targets behind an expired snapshot", "snapshot.expires = days(10); publish(targets)",
            "snapshot.expires, targets.version = FUTURE, 1; publish(snapshot)", 20, "older than what was seen, 3",
            "1 4 3 3");
        row("expired root", "root.expires = days(10); put(root); save('/tuf/1.root.json')", "publish()", 20,
            "expired on", "1 2 2 2");
        row("expired root, and a new one", "root.expires = days(10); put(root); save('/tuf/1.root.json')",
            "root.expires = FUTURE; publish(root)", 20, "", "2 2 2 2");
        row("expired snapshot", "snapshot.expires = days(10); publish(snapshot)", "publish()", 20, "expired on",
            "1 4 3 2");
        row("expired snapshot, and a new one", "snapshot.expires = days(10); publish(snapshot)",
            "snapshot.expires = FUTURE; publish(snapshot)", 20, "", "1 4 4 2");
        row("expired targets", "targets.expires = days(10); publish(targets)", "publish()", 20, "expired on",
            "1 4 3 3");
        row("expired targets, and new ones", "targets.expires = days(10); publish(targets)",
            "targets.expires = FUTURE; publish(targets)", 20, "", "1 4 4 4");
        row("a clock that is ahead", "timestamp.expires = days(10); publish()",
            "timestamp.expires = days(11); publish()", 5000, "clock", "1 3 2 2");
        row("a clock that is behind", "pass", "publish()", -10000, "", "1 3 2 2");
    }
    void timePasses()
    {
        const auto [before, then, days, reason, kept] =
            cells<QString, QString, int, QString, QString>("before", "then", "days", "reason", "kept");
        m_site.beginFetched(before);
        m_site.forge(then);
        cDownloader downloader;
        cTrustDownload source(m_site.server().url("tuf"), downloader);
        cTrustClient client(m_site.tool().path("trust"), QDateTime::currentDateTimeUtc().addDays(days));
        QVERIFY(client.load());
        QVERIFY2(client.refresh(source) == reason.isEmpty(), qPrintable(client.errorString()));
        QVERIFY2(client.errorString().contains(reason), qPrintable(client.errorString()));
        QCOMPARE(m_site.versions(), kept);
        // What was verified when it came may be installed whatever has expired since.
        QVERIFY(client.load());
        QVERIFY(client.findContent(Cryptography::sha256("the first"), 9, "a.zip"));
        QVERIFY(!client.findContent(Cryptography::sha256("the first"), 9, "b.zip"));
    }
};

QTEST_GUILESS_MAIN(tst_Attacks)
#include "tst_Attacks.moc"
