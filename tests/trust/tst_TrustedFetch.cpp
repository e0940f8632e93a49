#include "ForgedSite.h"

#include "trust/cTrustClient.h"

/// What a client of the standard accepts, asks for and delivers, and in which order.
class tst_TrustedFetch : public QObject
{
    Q_OBJECT

    ForgedSite m_site;

    /// Makes the site with the first part of @p script, "BEFORE | THEN", lets the client fetch, and does the second.
    void begin(const QString& script)
    {
        const QStringList parts = script.split(" | ");
        if (parts.size() == 1)
            return m_site.begin(parts[0]);
        m_site.beginFetched(parts[0]);
        m_site.forge(parts[1]);
        m_site.requests();
    }

    /// The contents of what was delivered, in the order of the names.
    QByteArray delivered() const
    {
        QByteArrayList contents;
        for (const auto& [name, content] : m_site.tool().tree("targets")) {
            if (!name.endsWith('/'))
                contents.append(content);
        }
        return contents.join(',');
    }

private slots:
    void asksFor_data()
    {
        const Rows<QString, QString, QString> row("script", "requests", "versions");
        row("all", "pass", "2.root timestamp 2.snapshot 2.targets", "1 2 2 2");
        row("nothing new", "pass | pass", "2.root timestamp", "1 2 2 2");
        row("a new timestamp", "pass | publish()", "2.root timestamp", "1 3 2 2");
        row("the same timestamp with other content",
            "pass | snapshot.version = 3; put(snapshot); link(timestamp); put(timestamp)", "2.root timestamp",
            "1 2 2 2");
        row("a new snapshot", "pass | publish(snapshot)", "2.root timestamp 3.snapshot", "1 3 3 2");
        row("new targets", "pass | publish(targets)", "2.root timestamp 3.snapshot 3.targets", "1 3 3 3");
        row("versions left out",
            "pass | targets.version, snapshot.version, timestamp.version = 7, 8, 9; publish(targets)",
            "2.root timestamp 9.snapshot 8.targets", "1 10 9 8");
        row("new roots", "publish(root); publish(root) | publish(root)", "4.root 5.root timestamp", "4 2 2 2");
        row("roots up to a gap", "publish(root); publish(root); del files['/tuf/2.root.json']",
            "2.root timestamp 2.snapshot 2.targets", "1 2 2 2");
        row("plain names", "new(consistent=False)", "2.root timestamp snapshot targets", "1 2 2 2");
        row("no lengths", "new(full=False) | publish(targets)", "2.root timestamp 3.snapshot 3.targets", "1 3 3 3");
        row("numbered from now on", "new(consistent=False) | root.consistent_snapshot = True; publish(root, targets)",
            "2.root 3.root timestamp 3.snapshot 3.targets", "2 3 3 3");
        row("a forbidden root", "faults['/tuf/2.root.json'] = '~status=403'", "2.root timestamp 2.snapshot 2.targets",
            "1 2 2 2");
    }
    void asksFor()
    {
        const auto [script, requests, versions] = cells<QString, QString, QString>("script", "requests", "versions");
        begin(script);
        SUCCEEDS(m_site.refresh());
        QCOMPARE(m_site.requests(), requests);
        QCOMPARE(m_site.versions(), versions);
    }

    void followsManyRoots()
    {
        begin("pass | [publish(root) for _ in range(258)]");
        SUCCEEDS(m_site.refresh());
        QCOMPARE(m_site.versions(), "257 2 2 2");
        SUCCEEDS(m_site.refresh());
        QCOMPARE(m_site.versions(), "259 2 2 2");
    }

    void accepts_data()
    {
        const Rows<QString> row("script");
        for (const char* script :
             {"timestamp.x = {'y': [None, True, -0, 2**53 + 1, -2**63, 2**63 - 1, ''], '\\ufb01': 1, '\\U0001f600': 2, "
              "'z': 'quote \" backslash \\\\ slash / tab \\t null \\x00 del \\x7f \\u20ac', '': 4, 'Z': {}}; "
              "root.x = targets.x = snapshot.x = timestamp.x; publish(root, targets)",
              "publish(); put(timestamp, lambda d: json.dumps(d, indent=7, sort_keys=True, "
              "ensure_ascii=False).encode() + b'\\r\\n\\t ')",
              "publish(); put(timestamp, lambda d: json.dumps(d).replace('version', '\\\\u0076ersion').replace('/', "
              "'\\\\/').encode())",
              "publish(); put(timestamp, lambda d: d.update(x={'y': 1}) or d['signatures'][0].update(x=1))",
              "publish(); put(timestamp, lambda d: d['signatures'].insert(0, {'keyid': 'ab' * 32, 'sig': '00' * 64}))",
              "publish(); put(timestamp, lambda d: d['signatures'].insert(0, {'keyid': 'ab' * 32, 'sig': ''}))",
              "rotate(timestamp, 'a', 'b', 'c', threshold=2); publish(root, timestamp); put(timestamp, lambda d: "
              "d['signatures'][1].update(sig=''))",
              "rotate(timestamp, 'a', 'b', 'c', threshold=2); timestamp.by = [key('c'), key('a')]; publish(root, "
              "timestamp)",
              "rotate(root, 'a', 'b', 'c', threshold=2); publish(root); root.by = [key('c'), key('a')]; publish(root)",
              "rotate(timestamp, key('t', id='a name')); publish(root, timestamp)",
              "rotate(timestamp, key('t', id='AB' * 32)); publish(root, timestamp)",
              "root.keys['ab' * 32] = {'keytype': 'of tomorrow', 'scheme': 'unknown', 'keyval': {'public': '00'}}; "
              "root.roles['timestamp']['keyids'].append('cd' * 32); root.roles['mirrors'] = root.roles['timestamp']; "
              "root.keys[timestamp.by[0].id]['x'] = 'y'; publish(root)",
              "root.keys['ab' * 32] = {'keytype': 'rsa', 'scheme': 'rsassa-pss-sha256', 'keyval': {'public': 'no "
              "PEM'}}; publish(root)",
              "new(kind='ecdsa')", "new(kind='rsa')",
              "del timestamp.meta['snapshot.json']['length']; timestamp.version = 3; put(timestamp)",
              "del timestamp.meta['snapshot.json']['hashes']; timestamp.version = 3; put(timestamp)",
              "snapshot.meta['other.json'] = {'version': 1}; publish(snapshot); timestamp.meta['other.json'] = "
              "{'version': 1}; put(timestamp)"})
            row(script, script);
    }
    void accepts()
    {
        const auto [script] = cells<QString>("script");
        m_site.begin(script);
        SUCCEEDS(m_site.refresh());
        QVERIFY(!m_site.versions().contains('-'));
        m_site.forge("publish(targets)");
        SUCCEEDS(m_site.refresh());
        SUCCEEDS(m_site.download({"main/a.zip"}));
    }

    void beginsWith_data()
    {
        const Rows<QString, int, QString> row("steps", "code", "reason");
        row("a root", "pass", 0, "");
        row("an expired root", "root.expires = PAST; put(root)", 0, "");
        row("no JSON", "files['/tuf/1.root.json'] = b'root'", 1, "line 1, column");
        row("another role", "files['/tuf/1.root.json'] = files['/tuf/timestamp.json']", 1, "timestamp");
        row("an unsigned root", "root.by = []; put(root)", 1, "signed by 0 of 1 key");
        row("a root below its threshold", "root.roles['root']['threshold'] = 2; put(root)", 1, "signed by 1 of 2 keys");
    }
    void beginsWith()
    {
        const auto [steps, code, reason] = cells<QString, int, QString>("steps", "code", "reason");
        begin("pass | pass");
        m_site.forge("new(); " + steps + "; save('/tuf/1.root.json')");
        const Ended ended = m_site.run({"init", m_site.server().folder() + "/../1.root.json"});
        QCOMPARE(ended.code, code);
        QVERIFY2(ended.reasons.contains(reason), qPrintable(ended.reasons));
        QCOMPARE(m_site.versions(), code ? "1 2 2 2" : "1 - - -");
    }

    void keepsWhatIsSound_data()
    {
        const Rows<QString, QString, QByteArray, QString, QString> row("script", "file", "content", "reason",
                                                                       "versions");
        const QString newer = "publish(targets) | publish()";
        for (const char* file : {"timestamp.json", "snapshot.json", "targets.json"}) {
            row(qPrintable(QString("no ") + file), newer, file, QByteArray(), "", "1 4 3 3");
            row(qPrintable(QString("damaged ") + file), newer, file, "{", "", "1 4 3 3");
        }
        row("damaged root", newer, "root.json", "{", "root.json", "- 3 3 3");
        row("a timestamp that nobody signed", newer, "timestamp.json",
            R"({"signatures":[],"signed":{"_type":"timestamp","version":99}})", "", "1 4 3 3");
        row("rollback of snapshot without its timestamp",
            "publish(snapshot) | snapshot.version, timestamp.version = 2, 2; put(snapshot); publish()",
            "timestamp.json", QByteArray(), "", "1 3 2 2");
    }
    void keepsWhatIsSound()
    {
        const auto [script, file, content, reason, versions] =
            cells<QString, QString, QByteArray, QString, QString>("script", "file", "content", "reason", "versions");
        begin(script);
        const QString path = m_site.tool().path("trust/" + file);
        QVERIFY(QFile::remove(path));
        if (!content.isNull())
            writeFile(path, content);
        const Ended ended = m_site.refresh();
        QVERIFY2(ended.reasons.contains(reason), qPrintable(ended.reasons));
        QCOMPARE(ended.code, int(!reason.isEmpty()));
        QCOMPARE(m_site.versions(), versions);
    }

    /// Targets are parted by "|"; what is delivered before the refusal stays.
    void delivers_data()
    {
        const Rows<QString, QString, QString, QByteArray> row("steps", "targets", "reason", "content");
        const QString plain = "/main/%s.a.zip' % hashlib.sha256(b'the first').hexdigest()";
        row("one", "pass", "main/a.zip", "", "the first");
        row("several", "target('b', b'2'); target('c', b'3'); release()", "b|main/a.zip|c", "", "2,3,the first");
        row("up to a refused one", "target('b', b'2'); release()", "b|no|main/a.zip", "no", "2");
        row("of no prefix", "new(prefix=False)", "main/a.zip", "", "the first");
        row("of no consistent snapshot", "new(consistent=False)", "main/a.zip", "", "the first");
        row("of SHA-512", "new(algorithms=['sha512', 'sha1'])", "main/a.zip", "", "the first");
        row("of two digests", "new(algorithms=['sha512', 'sha256', 'blake2b'])", "main/a.zip", "", "the first");
        row("of no known digest", "target('b', algorithms=['sha1']); release()", "b", "b", "");
        row("of a wrong second digest",
            "target('b', algorithms=['sha256', 'sha512']); targets.targets['b']['hashes']['sha512'] = 'ab' * 64; "
            "release()",
            "b", "SHA-512", "");
        row("empty", "target('b', b''); release()", "b", "", "");
        row("of custom members", "target('b', b'2', custom={'x': [1, {}]}); release()", "b", "", "2");
        row("arbitrary package", "target('b', b'good', served=b'evil'); release()", "b", "SHA-256", "");
        row("longer", "target('b', b'good', served=b'good and more'); release()", "b", "b", "");
        row("shorter", "target('b', b'good', served=b'goo'); release()", "b", "has 3 bytes instead of 4", "");
        row("endless", "faults['" + plain + "] = '~endless'", "main/a.zip", "more bytes", "");
        row("not served", "files.pop('" + plain + ")", "main/a.zip", "main/a.zip", "");
        row("not named", "files['/b'] = b'evil'", "b", "b", "");
        row("no longer named", "del targets.targets['main/a.zip']; release()", "main/a.zip", "main/a.zip", "");
        row("out of the folder", "target('../../b', b'2'); files['/b'] = b'2'; release()", "../../b", "", "2");
        for (const char* name : {"a b", "100%", "%2F", "a?b", "a#b", "a&b=c+d", "ä€😀", "a:b", "a\\b", "[x]", "c/d/e/f",
                                 "~a", "a..b", ".hidden", "(x)'y'\"z\""})
            row(name, QString("target(r'''%1''', b'2'); release()").arg(name), name, "", "2");
    }
    void delivers()
    {
        const auto [steps, targets, reason, content] =
            cells<QString, QString, QString, QByteArray>("steps", "targets", "reason", "content");
        m_site.begin(steps);
        const Ended ended = m_site.download(targets.split('|'));
        QVERIFY2(ended.reasons.contains(reason), qPrintable(ended.reasons));
        QCOMPARE(ended.code, int(!reason.isEmpty()));
        QCOMPARE(delivered(), content);
        QVERIFY(!QFile::exists(m_site.tool().path("../b")));
    }

    void fetchesTargetsOnce()
    {
        m_site.begin("target('b', b'2'); release()");
        const QString digest = QCryptographicHash::hash("2", QCryptographicHash::Sha256).toHex();
        SUCCEEDS(m_site.download({"b", "b"}));
        QCOMPARE(m_site.requests(), "2.root timestamp 3.snapshot 3.targets /" + digest + ".b");
        SUCCEEDS(m_site.download({"b"}));
        QCOMPARE(m_site.requests(), "2.root timestamp");
        for (const char* other : {"3", "", "22"}) {
            m_site.tool().write("targets/" + m_site.tool().tree("targets").begin()->first, other);
            SUCCEEDS(m_site.download({"b"}));
            QCOMPARE(m_site.requests(), "2.root timestamp /" + digest + ".b");
            QCOMPARE(delivered(), "2");
        }
        m_site.forge("target('b', b'three'); release()");
        SUCCEEDS(m_site.download({"b"}));
        QCOMPARE(delivered(), "three");
    }

    /// Which delegated roles are asked for "t", in which order, and what comes then.
    void delegates_data()
    {
        const Rows<QString, QString, QString, QByteArray> row("steps", "visited", "reason", "content");
        const auto in = [](const QString& role) {
            return QString("; target('t', 'of %1', role=roles['%1'])").arg(role);
        };
        const QString ab = "delegate('a'); delegate('b')";
        row("the first that has it", ab + in("a") + in("b"), "a", "", "of a");
        row("the next one", ab + in("b"), "a b", "", "of b");
        row("targets first", ab + in("a") + in("targets"), "", "", "of targets");
        row("none", ab, "a b", "t", "");
        row("a role of other paths",
            "delegate('a', ['other/*', 'T', 'tt', '?/t']); delegate('b', ['x', 't'])" + in("b"), "b", "", "of b");
        row("a terminating role", "delegate('a', terminating=True); delegate('b')" + in("b"), "a", "t", "");
        row("a terminating role of other paths", "delegate('a', ['x'], terminating=True); delegate('b')" + in("b"), "b",
            "", "of b");
        const QString deep = ab + "; delegate('c', parent=roles['a'])";
        row("depth first", deep + in("b") + in("c"), "a c", "", "of c");
        row("then breadth", deep + in("b"), "a c b", "", "of b");
        row("below a terminating role",
            "delegate('a', terminating=True); delegate('b'); delegate('c', parent=roles['a'])" + in("c"), "a c", "",
            "of c");
        row("terminating below", ab + "; delegate('c', parent=roles['a'], terminating=True)" + in("b"), "a c", "t", "");
        row("a circle", deep + "; delegate('a', parent=roles['c']); delegate('b', parent=roles['c'])" + in("b"),
            "a c b", "", "of b");
        row("a role of itself", "delegate('a'); delegate('a', parent=roles['a'])", "a", "t", "");
        const QString chain = "[delegate('r%d' % i, parent=roles.get('r%d' % (i - 1))) for i in range(1, 40)]";
        QString visited = "r1";
        for (int i = 2; i <= 32; ++i)
            visited += QString(" r%1").arg(i);
        row("32 delegations", chain + in("r32"), visited, "", "of r32");
        row("33 delegations", chain + in("r33"), visited, "vouches", "");
        row("33 delegations side by side", "[delegate('r%d' % i) for i in range(1, 40)]" + in("r33"), visited,
            "vouches", "");
        const QString digest = "hashlib.sha256(b't').hexdigest()";
        row("a hash prefix", "delegate('a', prefixes=['00', " + digest + "[:3]]); delegate('b')" + in("a"), "a", "",
            "of a");
        row("two keys", "delegate('a', keys=[key('x'), key('y')], threshold=2)" + in("a"), "a", "", "of a");
        row("one of two keys", "delegate('a', keys=[key('x'), key('y')], threshold=2).by.pop()" + in("a"), "a",
            "signed by 1 of 2 keys", "");
        row("the key of a sister", ab + "; roles['a'].by = roles['b'].by" + in("a"), "a", "signed by 0 of 1 key", "");
        row("expired", "delegate('a').expires = PAST" + in("a"), "a", "expired on", "");
        row("expired, before another", ab + "; roles['a'].expires = PAST" + in("b"), "a", "expired on", "");
        row("of another type", "delegate('a')._type = 'snapshot'" + in("a"), "a", "snapshot", "");
        for (const auto& [name, path] : QMap<QString, QString>{
                 {"?", "%3F"},
                 {"#", "%23"},
                 {"/x", "%2Fx"},
                 {"../../x", "..%2F..%2Fx"},
                 {"a b", "a%20b"},
                 {"é", "%C3%A9"},
                 {"%2F", "%252F"},
                 {"a.b", "a.b"},
                 {"a:b", "a%3Ab"},
                 {"CON", "CON"},
                 {"..", ".."}}.toStdMap())
            row(qPrintable("named " + name), "delegate('" + name + "')" + in(name), path, "", ("of " + name).toUtf8());
    }
    void delegates()
    {
        const auto [steps, visited, reason, content] =
            cells<QString, QString, QString, QByteArray>("steps", "visited", "reason", "content");
        m_site.begin("pass");
        m_site.forge(steps + "; release()");
        const Ended ended = m_site.download({"t"});
        QVERIFY2(ended.reasons.contains(reason), qPrintable(ended.reasons));
        QCOMPARE(ended.code, int(!reason.isEmpty()));
        QCOMPARE(delivered(), content);
        // By its bytes, too, a file is trusted only where the way leads to the role that has it.
        cTrustClient client(m_site.tool().path("trust"));
        QVERIFY(client.load());
        for (const QByteArray& bytes : {QByteArray("of a"), QByteArray("of b"), QByteArray("of c")})
            QCOMPARE(client.findContent(Cryptography::sha256(bytes), 4, "t").has_value(), bytes == content);
        const QStringList requests =
            wordsOf(m_site.requests().section("3.targets", 1)).filter(QRegularExpression("^[0-9]"));
        QCOMPARE(QStringList(requests).replaceInStrings(QRegularExpression("^[0-9]+[.]"), "").join(' '), visited);
        QVERIFY(QDir(m_site.tool().path()).entryList({"x*", "*.json"}).isEmpty());
    }

    /// A delegated role has the name of one of the four, in whatever letters: their files stay theirs.
    void keepsTheFilesOfTheFour()
    {
        for (const QString name : {"root", "timestamp", "snapshot", "targets", "ROOT", "Timestamp"}) {
            begin("pass | pass");
            m_site.forge("n = '" + name +
                         "'; x = delegate('x'); target('t', role=x); targets.delegations['roles'][0]['name'] = n; "
                         "release(); snapshot.meta[n + '.json'] = site.said(x); snapshot.version = 4; put(snapshot); "
                         "publish(); files['/tuf/2.%s.json' % n] = x.text()");
            const Ended ended = m_site.download({"t"});
            QCOMPARE(ended.code, int(name == name.toLower()));
            QVERIFY(m_site.versions().startsWith("1 "));
            m_site.forge("heal(); rotate(snapshot, 'new'); publish(root, snapshot)");
            SUCCEEDS(m_site.refresh());
            QCOMPARE(m_site.versions(), "2 13 13 12");
        }
    }
};

QTEST_GUILESS_MAIN(tst_TrustedFetch)
#include "tst_TrustedFetch.moc"
