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
        const int root = cTrustMetadata::Root, timestamp = cTrustMetadata::Timestamp;
        const int snapshot = cTrustMetadata::Snapshot, targets = cTrustMetadata::Targets;
        // Each of @p others in the place of @p from.
        const auto rows = [&](int type, const char* from, const QStringList& others, const QString& error) {
            for (const QString& to : others)
                row(qPrintable(from + (" as " + to)), type, from, to, error);
        };
        row("as it is", root, "", "", "");
        rows(root, "['k']", {"['k','k']"}, "signed: roles: root: a key is there twice");
        rows(root, "'keys'", {"'kept'"}, "signed: \"keys\" is missing");
        rows(root, "'snapshot'", {"'snapshots'"}, "signed: roles: \"snapshot\" is missing");
        rows(root, "'keytype'", {"'kind'"}, "signed: keys: key \"k\" has no \"keytype\"");
        rows(root, "'scheme':'ed25519'", {"'scheme':1"}, "keys: key \"k\" has no \"scheme\"");
        rows(root, "{'public':'00'}", {"'v'"}, "keys: key \"k\" has no \"keyval\"");
        rows(root, "'public'", {"'private'"}, "no \"public\"");
        rows(root, "'keytype':'ed25519'", {"'x':1,'keytype':'t'"}, "");
        rows(root, "'consistent_snapshot':true,", {""}, "");
        rows(root, "'threshold':1", {"'threshold':0"}, "\"threshold\" is no whole number from 1");
        row("many keys", root, "['k']", "[" + QStringList(QVector<QString>(1025, "'k'").toList()).join(',') + "]",
            "\"keyids\" has more than 1024 elements");

        rows(timestamp, "'signed':{", {"'said':{"}, "\"signed\" is missing");
        rows(timestamp, "'signed':{", {"'signed':null,'said':{"}, "\"signed\" is no object");
        rows(timestamp, "'signatures'", {"'said'"}, "\"signatures\" is missing");
        rows(timestamp, "[]", {"{}", "null"}, "\"signatures\" is no list");
        rows(timestamp, "[]", {"['00']"}, "signatures: this is no object");
        rows(timestamp, "[]", {"[{'sig':'00'}]"}, "signatures: \"keyid\" is missing");
        rows(timestamp, "[]", {"[{'keyid':'k','sig':''},{'keyid':'k','sig':''}]"}, "a key has signed twice");
        for (const char* name : {"_type", "version", "expires", "spec_version", "meta"})
            row(name, timestamp, QString("'%1':").arg(name), "'x':", QString("signed: \"%1\" is missing").arg(name));
        rows(timestamp, "'timestamp'", {"'root'"}, "its type is \"root\" instead of \"timestamp\"");
        rows(timestamp, "7", {"'7'", "0", "-1", "true", "null", "[]"}, "\"version\" is no whole number");
        rows(timestamp, "7", {"9223372036854775807"}, "");
        rows(timestamp, "'1.0.34'", {"1", "null"}, "\"spec_version\" is no text");
        rows(timestamp, "'1.0.34'", {"''", "'one'", "'1'"}, "which is no version");
        rows(timestamp, "'1.0.34'", {"'2.0.0'", "'0.9.0'"}, "of the standard, and 1 is known here");
        rows(timestamp, "'1.0.34'", {"'1.0'", "'1.1.0'", "'1.99.100'"}, "");
        rows(timestamp, "'2027-01-01T00:00:00Z'", {"2027", "null"}, "\"expires\" is no text");
        rows(timestamp, "'2027-01-01T00:00:00Z'",
             {"''", "'tomorrow'", "'2027-13-01T00:00:00Z'", "'2027-02-30T00:00:00Z'", "'2027-01-01'",
              "'2027-01-01T00:00:00'", "'2027-01-01T00:00:00+01:00'", "'2027-01-01T00:00:00.5Z'",
              "'99999-01-01T00:00:00Z'", "'-2027-01-01T00:00:00Z'"},
             "and no time as");
        // The second one is in a hole of local time.
        rows(timestamp, "2027-01-01T00", {"9999-12-31T23", "2027-03-28T02"}, "");
        rows(timestamp, "{'snapshot.json':{'version':3}}", {"[]"}, "\"meta\" is no object");
        rows(timestamp, "{'snapshot.json':{'version':3}}", {"{}"}, "\"snapshot.json\" is missing");
        rows(timestamp, "{'version':3}", {"2"}, "meta: \"snapshot.json\": this is no object");

        const QString file = "signed: meta: \"targets.json\": ";
        rows(snapshot, "'version':3", {"'versions':3"}, file + "\"version\" is missing");
        rows(snapshot, "'version':3", {"'version':'2'", "'version':0"}, file + "\"version\" is no whole number");
        rows(snapshot, "'version':3", {"'version':3,'length':-1", "'version':3,'length':'9'"},
             "\"length\" is no whole number");
        rows(snapshot, "'version':3", {"'version':3,'hashes':[]"}, "\"hashes\" is no object");
        rows(snapshot, "'version':3", {"'version':3,'hashes':{}"}, "\"hashes\" has none");
        rows(snapshot, "'version':3", {"'version':3,'hashes':{'sha256':1}"}, "\"hashes\" has a value that is no text");

        rows(targets, "'length':5", {"'length':-1"}, "target \"a/b\": \"length\" is no whole number from 0");
        rows(targets, "'length'", {"'lengths'"}, "target \"a/b\": \"length\" is missing");
        rows(targets, "'hashes'", {"'hash'"}, "target \"a/b\": \"hashes\" is missing");
        rows(targets, "'roles':[", {"'roles':[{'name':'A','keyids':[],'threshold':1,'terminating':false,'paths':[]},"},
             "signed: delegations: a role is there twice");
        rows(targets, "'A'", {"'root'"}, "role \"root\": nobody can delegate to that");
        rows(targets, "'paths'", {"'way'", "'path_hash_prefixes':['e3'],'paths'"},
             "one of \"paths\" and \"path_hash_prefixes\"");
        rows(targets, "'roles':[", {"'succinct_roles':{},'roles':["}, "one of \"roles\" and \"succinct_roles\"");
        row("too many bins", targets,
            "'roles':", "'succinct_roles':{'keyids':[],'threshold':1,'name_prefix':'x','bit_length':33},'was':",
            "\"bit_length\" is no whole number from 1 to 32");
        row("a long text", targets, "'A'", "'" + QString(9000, 'A') + "'", "\"name\" has more than 8192 characters");
    }

    void malformed()
    {
        const auto [type, from, to, error] = cells<int, QString, QString, QString>("type", "from", "to", "error");
        const QString role("{'keyids':['k'],'threshold':1}");
        const QString contents[] = {
            "'root','consistent_snapshot':true,'keys':{'k':{'keytype':'ed25519','scheme':'ed25519','keyval':{'public':'"
            "00'}}},'roles':{'root':" +
                role + ",'timestamp':" + role + ",'snapshot':" + role + ",'targets':" + role + "}",
            "'timestamp','meta':{'snapshot.json':{'version':3}}", "'snapshot','meta':{'targets.json':{'version':3}}",
            "'targets','targets':{'a/b':{'length':5,'hashes':{'sha256':'00'}}},'delegations':{'keys':{},'roles':["
            "{'name':'A','keyids':[],'threshold':1,'terminating':false,'paths':['x']}]}"};
        QString text = "{'signatures':[],'signed':{'version':7,'spec_version':'1.0.34',"
                       "'expires':'2027-01-01T00:00:00Z','_type':" +
                       contents[type] + "}}";
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
