#include "Rows.h"
#include "trust/cTrustMetadata.h"
#include "trust/cTrustStore.h"

#include <QtTest/QtTest>

/// Parts of the metadata by themselves: what a document says of files, roles and delegations, and how roles become
/// names of files. How documents join what is trusted is shown by the tests of attacks and of fetches, with sites that
/// others have signed.
class tst_TrustMetadata : public QObject
{
    Q_OBJECT

private slots:
    void malformed_data()
    {
        const Rows<int, QString, QString, QString> row("type", "from", "to", "error");
        const int root = cTrustMetadata::Root, snapshot = cTrustMetadata::Snapshot, targets = cTrustMetadata::Targets;
        row("as it is", root, "", "", "");
        row("fractions of seconds", root, "00:00Z", "00:00.5Z", "and no time as");
        row("a hole of local time", root, "2027-01-01T00", "2027-03-28T02", "");
        row("a key that is none", root, "'keytype'", "'kind'", "signed: keys: key \"k\" has no \"keytype\"");
        row("no consistent snapshots", root, "'consistent_snapshot':true,", "", "");
        row("a file without a version", snapshot, "'version':3", "'versions':3",
            "signed: meta: \"targets.json\": \"version\" is missing");
        row("a negative length", snapshot, "'version':3", "'version':3,'length':-1",
            "\"length\" is no whole number from 0");
        row("no hash in hashes", snapshot, "'version':3", "'version':3,'hashes':{}", "\"hashes\" has none");
        row("a role twice", targets, "'roles':[",
            "'roles':[{'name':'A','keyids':[],'threshold':1,'terminating':false,'paths':[]},",
            "signed: delegations: a role is there twice");
        row("root delegated", targets, "'A'", "'root'", "role \"root\": nobody can delegate to that");
        row("roles and bins", targets, "'roles':[", "'succinct_roles':{},'roles':[",
            "one of \"roles\" and \"succinct_roles\"");
        row("too many bins", targets,
            "'roles':", "'succinct_roles':{'keyids':[],'threshold':1,'name_prefix':'x','bit_length':33},'was':",
            "\"bit_length\" is no whole number from 1 to 32");
        row("a long text", targets, "'A'", "'" + QString(9000, 'A') + "'", "\"name\" has more than 8192 characters");
        row("many keys", root, "['k']", "[" + QStringList(QVector<QString>(1025, "'k'").toList()).join(',') + "]",
            "\"keyids\" has more than 1024 elements");
    }

    void malformed()
    {
        const auto [type, from, to, error] = cells<int, QString, QString, QString>("type", "from", "to", "error");
        const QString role("{'keyids':['k'],'threshold':1}");
        const QString contents[] = {
            "'root','consistent_snapshot':true,'keys':{'k':{'keytype':'ed25519','scheme':'ed25519','keyval':{'public':'"
            "00'}"
            "}},"
            "'roles':{'root':" +
                role + ",'timestamp':" + role + ",'snapshot':" + role + ",'targets':" + role + "}",
            "'timestamp'", "'snapshot','meta':{'targets.json':{'version':3}}",
            "'targets','targets':{'a/b':{'length':5,'hashes':{'sha256':'00'}}},'delegations':{'keys':{},'roles':["
            "{'name':'A','keyids':[],'threshold':1,'terminating':false,'paths':['x']}]}"};
        QString text = "{'signatures':[],'signed':{'_type':" + contents[type] +
                       ",'spec_version':'1.0.34','version':7,'expires':'2027-01-01T00:00:00Z'}}";
        const int at = text.indexOf(from);
        QVERIFY(at >= 0);
        text.replace(at, from.size(), to).replace('\'', '"');
        QString reason;
        const auto document = cTrustMetadata::read(cTrustMetadata::Type(type), text.toUtf8(), &reason);
        QVERIFY2(reason.contains(error), qPrintable(reason));
        QCOMPARE(document.has_value(), error.isEmpty());
    }

    void patterns_data()
    {
        const Rows<QString, QString, bool> row("pattern", "path", "covers");
        row("as it is", "a/b.zip", "a/b.zip", true);
        row("star", "a/*.zip", "a/b.zip", true);
        row("star and no slash", "*.zip", "a/b.zip", false);
        row("star for nothing", "a*/b", "a/b", true);
        row("two stars", "*-1.*.zip", "x-1.0-1.2.zip", true);
        row("many stars", QString("*a").repeated(40), QString(200, 'a') + "b", false);
        row("question mark", "a?c", "abc", true);
        row("question mark for nothing", "a?c", "ac", false);
        row("set", "a[b-d]", "ac", true);
        row("set without", "a[!b-d]", "ac", false);
        row("bracket in a set", "a[]x]", "a]", true);
        row("open set", "a[b", "a[b", true);
        row("letter case counts", "A", "a", false);
        row("deeper", "*", "a/b", false);
        row("a dot is no more than another", "a.c", "abc", false);
    }

    void patterns()
    {
        const auto [pattern, path, covers] = cells<QString, QString, bool>("pattern", "path", "covers");
        cTrustDelegation delegation;
        delegation.paths = QStringList(pattern);
        QCOMPARE(delegation.covers(path), covers);
        delegation.paths.clear();
        delegation.pathHashPrefixes =
            QStringList(QString(Cryptography::sha256(path.toUtf8()).toHex().left(3)).toUpper());
        QVERIFY(delegation.covers(path));
        QVERIFY(!delegation.covers(path + 'x'));
    }

    void bins()
    {
        const cTrustBins bins{{}, "bin", 10};
        const int first = Cryptography::sha256("x/y").left(2).toHex().toInt(nullptr, 16) >> 6;
        QCOMPARE(bins.nameOf("x/y"), QString("bin-%1").arg(first, 3, 16, QChar('0')));
        QVERIFY(bins.has("bin-3ff"));
        for (const char* other : {"bin-400", "bin-03ff", "bin-3FF", "bin-+1f", "bin", "other-3ff", "bin-"})
            QVERIFY2(!bins.has(other), other);
    }

    void fileNames_data()
    {
        const Rows<QString, QString> row("role", "file");
        row("plain", "targets", "targets.json");
        row("path", "../a/b", "..%2Fa%2Fb.json");
        row("query", "?#", "%3F%23.json");
        row("none", "", "%.json");
        row("not ASCII", QString::fromUtf8("ä"), "%C3%A4.json");
        const QString hash = QString(Cryptography::sha256(QByteArray(300, 'a')).toHex());
        row("long", QString(300, 'a'), QString(94, 'a') + "%%" + hash + ".json");
#ifdef Q_OS_WIN
        row("device", "con.x", "%63on.x.json");
        row("letter case", "A%", "%41%25.json");
#endif
    }

    void fileNames()
    {
        const auto [role, file] = cells<QString, QString>("role", "file");
        QCOMPARE(cTrustStore::fileNameOf(role), file);
    }
};

QTEST_GUILESS_MAIN(tst_TrustMetadata)
#include "tst_TrustMetadata.moc"
