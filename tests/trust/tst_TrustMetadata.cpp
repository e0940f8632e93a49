#include "Rows.h"
#include "config/cTrustDownload.h"
#include "disk/WholeFiles.h"
#include "trust/CanonicalJson.h"
#include "trust/cTrustClient.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

namespace {

const QDateTime Now(QDate(2026, 11, 26), QTime(12, 0), Qt::UTC);

QJsonObject parsed(const QString& json)
{
    return QJsonDocument::fromJson(QString(json).replace(QLatin1Char('\''), QLatin1Char('"')).toUtf8()).object();
}

/// A repository in a folder, with a key for each role, and whatever a test does to it.
struct Repository
{
    QTemporaryDir folder;
    QMap<QString, QVector<Cryptography::KeyPair>> keys; // by role
    QMap<QString, QJsonObject> documents;               // what is signed, by role

    Repository()
    {
        for (const char* role : {"root", "timestamp", "snapshot", "targets"}) {
            keys[role] = {Cryptography::makeEd25519()};
            documents[role] = document(role);
        }
        documents["root"]["consistent_snapshot"] = true;
        documents["targets"]["targets"] = QJsonObject();
        addTarget("targets", "main/A-1.zip", "first");
    }

    /// The file of a target is not there; its hash is.
    void addTarget(const QString& role, const QString& path, const QByteArray& bytes)
    {
        QJsonObject targets = documents[role]["targets"].toObject();
        const QString hash = Cryptography::sha256(bytes).toHex();
        targets[path] = QJsonObject{{"length", bytes.size()}, {"hashes", QJsonObject{{"sha256", hash}}}};
        documents[role]["targets"] = targets;
    }

    static QJsonObject document(const QString& type)
    {
        return {{"_type", type}, {"spec_version", "1.0.34"}, {"version", 1}, {"expires", "2027-01-01T00:00:00Z"}};
    }

    static cTrustKey publicKey(const Cryptography::KeyPair& pair) { return cTrustKey::ofEd25519(pair.point); }

    static QJsonObject roleOf(const QVector<Cryptography::KeyPair>& pairs, QJsonObject& all)
    {
        QJsonArray ids;
        for (const Cryptography::KeyPair& pair : pairs) {
            ids.append(publicKey(pair).id());
            all[publicKey(pair).id()] = publicKey(pair).object();
        }
        return {{"keyids", ids}, {"threshold", pairs.size()}};
    }

    /// Sets what root says of the keys.
    void fixRoot()
    {
        QJsonObject all;
        QJsonObject roles;
        for (const char* role : {"root", "timestamp", "snapshot", "targets"})
            roles[role] = roleOf(keys[role], all);
        documents["root"]["keys"] = all;
        documents["root"]["roles"] = roles;
    }

    void add(const QString& role, int versions)
    {
        documents[role]["version"] = documents[role]["version"].toInt() + versions;
    }

    /// Names the versions of @p file in the document of @p role.
    void name(const QString& role, const QString& file, int version)
    {
        QJsonObject meta = documents[role]["meta"].toObject();
        meta[file] = QJsonObject{{"version", version}};
        documents[role]["meta"] = meta;
    }

    QByteArray sign(const QJsonObject& content, const QVector<Cryptography::KeyPair>& pairs) const
    {
        QJsonArray signatures;
        const QByteArray bytes = CanonicalJson::write(content).value();
        for (const Cryptography::KeyPair& pair : pairs)
            signatures.append(QJsonObject{{"keyid", publicKey(pair).id()},
                                          {"sig", QString(Cryptography::signEd25519(pair.seed, bytes).toHex())}});
        return QJsonDocument({{"signatures", signatures}, {"signed", content}}).toJson();
    }

    void write(const QString& name, const QByteArray& bytes) const
    {
        QString error;
        QVERIFY2(replaceFile(folder.filePath(QString::fromLatin1(QUrl::toPercentEncoding(name))), bytes, &error),
                 qPrintable(error));
    }

    void publishRoot(const QVector<Cryptography::KeyPair>& signers)
    {
        fixRoot();
        const int version = documents["root"]["version"].toInt();
        write(QString::number(version) + ".root.json", sign(documents["root"], signers));
    }

    /// All but root; what timestamp and snapshot say of the next is what it is, unless @p isFixed.
    void publish(bool isFixed = false)
    {
        for (const QString& role : documents.keys()) {
            const int version = documents[role]["version"].toInt();
            if (role == "root" || role == "timestamp" || role == "snapshot")
                continue;
            if (!isFixed)
                name("snapshot", role + ".json", version);
            write(QString("%1.%2.json").arg(version).arg(role), sign(documents[role], keys[role]));
        }
        const int version = documents["snapshot"]["version"].toInt();
        if (!isFixed)
            name("timestamp", "snapshot.json", version);
        write(QString("%1.snapshot.json").arg(version), sign(documents["snapshot"], keys["snapshot"]));
        write("timestamp.json", sign(documents["timestamp"], keys["timestamp"]));
    }

    void addAll(int versions)
    {
        for (const char* role : {"timestamp", "snapshot", "targets"})
            add(role, versions);
    }

    /**
     * Words: "targets+1" and "all-1" change versions (of all but root), "root.expires=TIME" and "snapshot.meta={}" set
     * members, "key:root" adds a key and "rotate:root" exchanges it, "targets>FILE" writes a document as it is;
     * "root" writes the next root, signed by its keys, "oldkeys" by those that it had at first, "bothkeys" by all of
     * them; "publish" and "asis" write the others.
     */
    void perform(const QString& script)
    {
        static const QRegularExpression form("^(\\w+)(?:([+-]\\d+)|\\.(\\w+)=(.*)|([:>])(.*))?$");
        const QVector<Cryptography::KeyPair> old = keys["root"];
        for (const QString& word : script.split(' ')) {
            const QRegularExpressionMatch match = form.match(word);
            const QString name = match.captured(1), value = match.captured(4), other = match.captured(6);
            if (!match.captured(2).isEmpty())
                name == "all" ? addAll(match.captured(2).toInt()) : add(name, match.captured(2).toInt());
            else if (!match.captured(3).isEmpty())
                documents[name][match.captured(3)] =
                    value.startsWith('{') ? QJsonValue(parsed(value)) : QJsonValue(value);
            else if (match.captured(5) == ">")
                write(other, sign(documents[name], keys[name]));
            else if (!other.isEmpty())
                keys[other] = (name == "key" ? keys[other] : QVector<Cryptography::KeyPair>()) +
                              QVector<Cryptography::KeyPair>{Cryptography::makeEd25519()};
            else if (name == "publish" || name == "asis")
                publish(name == "asis");
            else
                publishRoot(name == "root" ? keys["root"] : name == "oldkeys" ? old : old + keys["root"]);
        }
    }
};

/// Tells what is fetched.
class RecordingSource : public cTrustDownload
{
public:
    using cTrustDownload::cTrustDownload;

    Answer fetch(const QString& name, qint64 limit, QByteArray& bytes, QString& reason) override
    {
        names.append(name);
        return cTrustDownload::fetch(name, limit, bytes, reason);
    }

    QStringList names;
};

} // namespace

class tst_TrustedSet : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void refresh_data();
    void refresh();
    void malformed_data();
    void malformed();
    void search_data();
    void search();
    void patterns_data();
    void patterns();
    void bins();
    void keepsWhatWasVerified();
    void followsManyRoots();
    void fileNames_data();
    void fileNames();

private:
    QString versions() const;
    bool refreshAt(const QDateTime& now);

    std::unique_ptr<Repository> m_repository;
    std::unique_ptr<QTemporaryDir> m_store;
    std::unique_ptr<cTrustClient> m_client;
    std::unique_ptr<RecordingSource> m_source;
    cDownloader m_downloader;
};

void tst_TrustedSet::init()
{
    m_repository = std::make_unique<Repository>();
    m_store = std::make_unique<QTemporaryDir>();
    m_client = std::make_unique<cTrustClient>(m_store->path(), Now);
    m_source = std::make_unique<RecordingSource>(QUrl::fromLocalFile(m_repository->folder.path()), m_downloader);
    m_repository->publishRoot(m_repository->keys["root"]);
    m_repository->addAll(1);
    m_repository->publish();
    QByteArray root;
    QVERIFY(readFile(m_repository->folder.filePath("1.root.json"), root, nullptr));
    QVERIFY(m_client->trust(root));
}

void tst_TrustedSet::cleanup()
{
    m_client.reset();
}

bool tst_TrustedSet::refreshAt(const QDateTime& now)
{
    m_source->names.clear();
    m_client = std::make_unique<cTrustClient>(m_store->path(), now);
    return m_client->refresh(*m_source);
}

/// Of root, timestamp, snapshot and targets in the store.
QString tst_TrustedSet::versions() const
{
    QStringList versions;
    const cTrustStore store(m_store->path());
    for (const char* role : {"root", "timestamp", "snapshot", "targets"})
        versions.append(QString::number(
            QJsonDocument::fromJson(store.load(role)).object()["signed"].toObject()["version"].toInt()));
    return versions.join(' ');
}

void tst_TrustedSet::refresh_data()
{
    const Rows<QString, QString, QString, QString> row("script", "error", "versions", "fetched");
    const char* const toTimestamp = "2.root timestamp";
    const char* const toSnapshot = "2.root timestamp 3.snapshot";
    const char* const toTargets = "2.root timestamp 3.snapshot 3.targets";
    row("nothing new", "publish", "", "1 2 2 2", toTimestamp);
    row("all new", "all+1 publish", "", "1 3 3 3", toTargets);
    row("another timestamp of the same version", "timestamp.meta={'snapshot.json':{'version':9}} asis", "", "1 2 2 2",
        toTimestamp);
    row("timestamp rolled back", "timestamp-1 publish",
        "timestamp.json is refused: version 1 is older than what was seen, 2", "1 2 2 2", toTimestamp);
    row("snapshot rolled back", "timestamp+1 snapshot-1 publish",
        "timestamp.json is refused: the snapshot.json that it names: version 1 is older than what was seen, 2",
        "1 2 2 2", toTimestamp);
    row("targets rolled back", "all+1 targets-2 publish",
        "3.snapshot.json is refused: the targets.json that it names: version 1 is older than what was seen, 2",
        "1 3 2 2", toSnapshot);
    row("targets taken out", "all+1 publish snapshot.meta={} asis",
        "3.snapshot.json is refused: targets.json, which was seen before, is not in it", "1 3 2 2", toSnapshot);
    row("mixed with an older snapshot", "all+1 publish snapshot-1 snapshot>3.snapshot.json",
        "3.snapshot.json is refused: has version 2 instead of 3, which timestamp.json gives", "1 3 2 2", toSnapshot);
    row("mixed with older targets", "all+1 publish targets-1 targets>3.targets.json",
        "3.targets.json is refused: has version 2 instead of 3, which snapshot.json gives", "1 3 3 2", toTargets);
    row("snapshot of another hash",
        "all+1 publish timestamp.meta={'snapshot.json':{'version':3,'hashes':{'sha256':'00'}}} asis",
        "3.snapshot.json is refused: its SHA-256 is not the one that timestamp.json gives", "1 3 2 2", toSnapshot);
    row("snapshot of another length", "all+1 publish timestamp.meta={'snapshot.json':{'version':3,'length':9000}} asis",
        "bytes instead of 9000", "1 3 2 2", toSnapshot);
    row("snapshot longer than it may be",
        "all+1 publish timestamp.meta={'snapshot.json':{'version':3,'length':9}} asis",
        "3.snapshot.json is refused: has more than 9 bytes", "1 3 2 2", toSnapshot);
    row("no snapshot at all", "all+1 publish timestamp.meta={'snapshot.json':{'version':3,'length':0}} asis",
        "3.snapshot.json is refused: has more than 0 bytes", "1 3 2 2", toSnapshot);
    row("the same snapshot under another hash",
        "timestamp+1 timestamp.meta={'snapshot.json':{'version':2,'hashes':{'sha512':'00'}}} asis",
        "2.snapshot.json is refused: its SHA-512 is not the one that timestamp.json gives", "1 3 2 2",
        "2.root timestamp 2.snapshot");
    row("timestamp frozen", "timestamp+1 timestamp.expires=2026-11-01T12:00:00Z publish",
        "timestamp.json is refused: expired on 2026-11-01 12:00 UTC; this computer's clock says 2026-11-26 12:00 UTC, "
        "which "
        "may be wrong",
        "1 2 2 2", toTimestamp);
    row("snapshot frozen", "all+1 snapshot.expires=2026-11-26T12:00:00Z publish",
        "3.snapshot.json is refused: expired on 2026-11-26 12:00 UTC", "1 3 2 2", toSnapshot);
    row("targets frozen", "all+1 targets.expires=2000-11-01T12:00:00Z publish",
        "3.targets.json is refused: expired on 2000-11-01 12:00 UTC; this computer's clock", "1 3 3 2", toTargets);
    row("root frozen", "root+1 root.expires=2026-11-01T12:00:00Z root",
        "root.json is refused: expired on 2026-11-01 12:00 UTC; this computer's clock", "2 2 2 2", "2.root 3.root");
    row("an expired root on the way",
        "root+1 root.expires=2026-11-01T12:00:00Z root root+1 root.expires=2027-11-01T12:00:00Z root", "", "3 2 2 2",
        "2.root 3.root 4.root timestamp");
    row("root with exchanged keys", "root+1 rotate:root bothkeys", "", "2 2 2 2", "2.root 3.root timestamp");
    row("root not signed by the old key", "root+1 rotate:root root", "2.root.json is refused: signed by 0 of 1 key",
        "1 2 2 2", "2.root");
    row("root not signed by all new keys", "root+1 key:root oldkeys", "2.root.json is refused: signed by 1 of 2 keys",
        "1 2 2 2", "2.root");
    row("root that leaps", "root+2 root>2.root.json", "2.root.json is refused: has version 3 instead of 2", "1 2 2 2",
        "2.root");
    row("root once more", "root>2.root.json", "2.root.json is refused: has version 1 instead of 2", "1 2 2 2",
        "2.root");
    const char* const anew = "2.root 3.root timestamp 1.snapshot 1.targets";
    row("recovery by the timestamp's key", "root+1 rotate:timestamp root all-1 publish", "", "2 1 1 1", anew);
    row("recovery by the snapshot's key", "root+1 rotate:snapshot root all-1 publish", "", "2 1 1 1", anew);
    row("no recovery by the targets' key", "root+1 rotate:targets root all-1 publish", "older than what was seen",
        "2 2 2 2", "2.root 3.root timestamp");
    // what one key signed is not what two ask for
    row("recovery by a further key", "root+1 key:timestamp root all-1 publish", "", "2 1 1 1", anew);
    row("what the old key signed", "root+1 rotate:timestamp root", "timestamp.json is refused: signed by 0 of 1 key",
        "2 0 0 2", "2.root 3.root timestamp");
    row("no targets", "all+1 publish snapshot.meta={'targets.json':{'version':4}} asis",
        "4.targets.json cannot be fetched: no such file", "1 3 3 2", "2.root timestamp 3.snapshot 4.targets");
}

void tst_TrustedSet::refresh()
{
    const auto [script, error, expected, fetched] =
        cells<QString, QString, QString, QString>("script", "error", "versions", "fetched");
    QVERIFY2(refreshAt(Now), qPrintable(m_client->errorString()));
    QCOMPARE(versions(), "1 2 2 2");
    m_repository->perform(script);
    const bool isDone = refreshAt(Now);
    QVERIFY2(m_client->errorString().contains(error), qPrintable(m_client->errorString()));
    QCOMPARE(isDone, error.isEmpty());
    QCOMPARE(m_client->isUnreachable(), error.contains("cannot be fetched"));
    QCOMPARE(versions(), expected);
    QCOMPARE(m_source->names.join(' ').remove(".json"), fetched);
}

void tst_TrustedSet::malformed_data()
{
    const Rows<int, QString, QString, QString> row("type", "from", "to", "error");
    const int root = cTrustMetadata::Root, snapshot = cTrustMetadata::Snapshot, targets = cTrustMetadata::Targets;
    row("as it is", root, "", "", "");
    row("no object", root, "{", "[", "line 1");
    row("no signatures", root, "'signatures'", "'signature'", "\"signatures\" is missing");
    row("a key signs twice", root, "[]", "[{'keyid':'a','sig':''},{'keyid':'a','sig':'00'}]",
        "signatures: a key has signed twice");
    row("another type", targets, "'targets',", "'snapshot',",
        "signed: its type is \"snapshot\" instead of \"targets\"");
    row("a new minor version", root, "1.0.34", "1.99", "");
    row("another major version", root, "1.0.34", "2.0.0", "it is of version 2.0.0 of the standard");
    row("no version of the standard", root, "1.0.34", "1", "which is no version");
    row("version 0", root, "'version':7", "'version':0", "\"version\" is no whole number from 1");
    row("half a version", root, "'version':7", "'version':7.5", "whole");
    row("a version beyond 64 bits", root, "'version':7", "'version':9223372036854775808", "64 bits");
    row("a day that is not there", root, "2027-01-01T", "2027-02-30T", "\"expires\" is \"2027-02-30T00:00:00Z\"");
    row("fractions of seconds", root, "00:00Z", "00:00.5Z", "and no time as");
    row("a hole of local time", root, "2027-01-01T00", "2027-03-28T02", "");
    row("a role is missing", root, "'snapshot'", "'other'", "signed: roles: \"snapshot\" is missing");
    row("threshold 0", root, "'threshold':1", "'threshold':0",
        "signed: roles: root: \"threshold\" is no whole number from 1");
    row("a key twice in a role", root, "['k']", "['k','k']", "signed: roles: root: a key is there twice");
    row("a key of an unknown type", root, "'ed25519'", "'other'", "");
    row("a key that is none", root, "'keytype'", "'kind'", "signed: keys: key \"k\" has no \"keytype\"");
    row("unknown members", root, "'version':7", "'version':7,'x':[{}]", "");
    row("no consistent snapshots", root, "'consistent_snapshot':true,", "", "");
    row("a file without a version", snapshot, "'version':3", "'versions':3",
        "signed: meta: \"targets.json\": \"version\" is missing");
    row("a negative length", snapshot, "'version':3", "'version':3,'length':-1",
        "\"length\" is no whole number from 0");
    row("no hash in hashes", snapshot, "'version':3", "'version':3,'hashes':{}", "\"hashes\" has none");
    row("a target without a length", targets, "'length':5", "'size':5",
        "signed: target \"a/b\": \"length\" is missing");
    row("a target without hashes", targets, "'hashes'", "'hash'", "signed: target \"a/b\": \"hashes\" is missing");
    row("paths and prefixes", targets, "'paths':['x']", "'paths':['x'],'path_hash_prefixes':['0']",
        "signed: delegations: role \"A\": one of \"paths\" and");
    row("neither", targets, "'paths':['x']", "'paths':null", "one of \"paths\" and");
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

void tst_TrustedSet::malformed()
{
    const auto [type, from, to, error] = cells<int, QString, QString, QString>("type", "from", "to", "error");
    const QString role("{'keyids':['k'],'threshold':1}");
    const QString contents[] = {
        "'root','consistent_snapshot':true,'keys':{'k':{'keytype':'ed25519','scheme':'ed25519','keyval':{'public':'00'}"
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

void tst_TrustedSet::search_data()
{
    // "A:pattern" in the list of whom a role delegates to, "A!:pattern" when that ends the search.
    const Rows<QString, QString, QString, QString> row("delegations", "holder", "visited", "error");
    row("found at the top", "targets=A:*", "targets", "", "");
    row("in the order given, depth first", "targets=A:*,B:*;A=C:*,D:*", "B", "A C D B", "");
    row("not where no pattern leads", "targets=A:a*,B:*;A=C:*", "B", "B", "");
    row("not outside of its paths", "targets=A:a*", "A", "", "no trusted role vouches for \"x/y\"");
    row("a terminating one ends the search", "targets=A:*,B!:*,C:*;A=D:*", "C", "A D B", "no trusted role vouches");
    row("also that of those above", "targets=A:*,B:*;A=C!:*", "B", "A C", "no trusted role vouches");
    row("one that does not match ends nothing", "targets=A!:z*,B:*", "B", "B", "");
    row("a circle is walked once", "targets=A:*;A=B:*;B=A:*", "none", "A B", "no trusted role vouches");
    row("names that lead elsewhere", "targets=../A:*,a/b:*,?:*,:*", "", "../A a/b ? ", "");
    row("one cannot be had", "targets=A:*,gone:*,B:*", "B", "A gone", "1.gone.json cannot be fetched");
    QStringList chain("targets=r1:*");
    QStringList roles("r1");
    for (int i = 2; i <= 33; ++i) {
        chain.append(QString("r%1=r%2:*").arg(i - 1).arg(i));
        roles.append(QString("r%1").arg(i));
    }
    row("32 delegations", chain.mid(0, 32).join(';'), "r32", roles.mid(0, 32).join(' '), "");
    row("33 delegations", chain.join(';'), "r33", roles.mid(0, 32).join(' '), "no trusted role vouches");
}

void tst_TrustedSet::search()
{
    const auto [delegations, holder, visited, error] =
        cells<QString, QString, QString, QString>("delegations", "holder", "visited", "error");
    Repository& repository = *m_repository;
    for (const QString& line : delegations.split(';')) {
        const QString parent = line.section('=', 0, 0);
        QJsonObject keys;
        QJsonArray roles;
        for (const QString& each : line.section('=', 1).split(',')) {
            const bool isTerminating = each.section(':', 0, 0).endsWith('!');
            const QString name = each.section(':', 0, 0).remove('!');
            if (!repository.keys.contains(name)) {
                repository.keys[name] = {Cryptography::makeEd25519()};
                repository.documents[name] = Repository::document("targets");
                repository.documents[name]["targets"] = QJsonObject();
            }
            QJsonObject role = Repository::roleOf(repository.keys[name], keys);
            role["name"] = name;
            role["terminating"] = isTerminating;
            role["paths"] = QJsonArray{each.section(':', 1), each.section(':', 1) + "/*"};
            roles.append(role);
        }
        repository.documents[parent]["delegations"] = QJsonObject{{"keys", keys}, {"roles", roles}};
    }
    if (repository.documents.contains(holder))
        repository.addTarget(holder, "x/y", "wanted");
    repository.addAll(1);
    repository.publish();
    QFile::remove(repository.folder.filePath("1.gone.json"));
    QVERIFY2(refreshAt(Now), qPrintable(m_client->errorString()));
    m_source->names.clear();
    const auto target = m_client->find("x/y", *m_source);
    QVERIFY2(m_client->errorString().contains(error), qPrintable(m_client->errorString()));
    QCOMPARE(target.has_value(), error.isEmpty());
    QCOMPARE(m_source->names.join(' ').remove(".json").remove("1."), visited);
    const QByteArray hash = Cryptography::sha256("wanted");
    QCOMPARE(m_client->findContent(hash, 6, "y").has_value(), target.has_value());
    QVERIFY(!m_client->findContent(hash, 7, "y"));
    // The next run has them.
    QVERIFY(refreshAt(Now));
    m_source->names.clear();
    QCOMPARE(m_client->find("x/y", *m_source).has_value(), target.has_value());
    QCOMPARE(m_source->names, visited.contains("gone") ? QStringList("1.gone.json") : QStringList());
}

void tst_TrustedSet::patterns_data()
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

void tst_TrustedSet::patterns()
{
    const auto [pattern, path, covers] = cells<QString, QString, bool>("pattern", "path", "covers");
    cTrustDelegation delegation;
    delegation.paths = QStringList(pattern);
    QCOMPARE(delegation.covers(path), covers);
    delegation.paths.clear();
    delegation.pathHashPrefixes = QStringList(QString(Cryptography::sha256(path.toUtf8()).toHex().left(3)).toUpper());
    QVERIFY(delegation.covers(path));
    QVERIFY(!delegation.covers(path + 'x'));
}

void tst_TrustedSet::bins()
{
    const cTrustBins bins{{}, "bin", 10};
    const int first = Cryptography::sha256("x/y").left(2).toHex().toInt(nullptr, 16) >> 6;
    QCOMPARE(bins.nameOf("x/y"), QString("bin-%1").arg(first, 3, 16, QChar('0')));
    QVERIFY(bins.has("bin-3ff"));
    for (const char* other : {"bin-400", "bin-03ff", "bin-3FF", "bin-+1f", "bin", "other-3ff", "bin-"})
        QVERIFY2(!bins.has(other), other);
}

void tst_TrustedSet::keepsWhatWasVerified()
{
    const QByteArray hash = Cryptography::sha256("first");
    QVERIFY(refreshAt(Now));
    QVERIFY(m_client->findContent(hash, 5, "A-1.zip"));
    QVERIFY(!m_client->findContent(hash, 5, "B-1.zip"));
    QVERIFY(!refreshAt(Now.addYears(2)));
    QVERIFY(!m_client->findContent(hash, 5, "A-1.zip"));
    QVERIFY(m_client->load());
    QVERIFY(m_client->findContent(hash, 5, "A-1.zip"));
    const cTrustTarget target = *m_client->findContent(hash, 5, "A-1.zip");
    QCOMPARE(target.fault("first"), QString());
    QCOMPARE(target.fault("second"), "has 6 bytes instead of 5");
    QCOMPARE(target.fault("firsT"), "its SHA-256 is not the one that the signed metadata gives");
    // Another root takes it all back; what is none takes nothing.
    QVERIFY(!m_client->trust("{}"));
    QVERIFY(m_client->load());
    QVERIFY(m_client->trust(m_repository->sign(m_repository->documents["root"], m_repository->keys["root"])));
    QCOMPARE(versions(), "1 0 0 0");
}

void tst_TrustedSet::followsManyRoots()
{
    for (int i = 0; i < cTrustClient::MaxRoots + 1; ++i) {
        m_repository->add("root", 1);
        m_repository->publishRoot(m_repository->keys["root"]);
    }
    QVERIFY(refreshAt(Now));
    QCOMPARE(versions(), QString("%1 2 2 2").arg(1 + cTrustClient::MaxRoots));
    QVERIFY(refreshAt(Now));
    QCOMPARE(versions(), QString("%1 2 2 2").arg(2 + cTrustClient::MaxRoots));
}

void tst_TrustedSet::fileNames_data()
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

void tst_TrustedSet::fileNames()
{
    const auto [role, file] = cells<QString, QString>("role", "file");
    QCOMPARE(cTrustStore::fileNameOf(role), file);
}

QTEST_GUILESS_MAIN(tst_TrustedSet)
#include "tst_TrustedSet.moc"
