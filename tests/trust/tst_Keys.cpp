#include "Files.h"
#include "MachineProgram.h"
#include "Rows.h"

#include "trust/CanonicalJson.h"
#include "trust/KeyText.h"
#include "trust/cTrustKey.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QTemporaryDir>

Q_DECLARE_METATYPE(cTrustKey)

/// Keys, signatures and canonical JSON. What verifies was made by other means: by Python's cryptography and openssl, or
/// it stands in the standards.
class tst_Keys : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QCOMPARE(MachineProgram::execute("python3", {FOREIGN_KEYS_PY, m_folder.path()}), 0);
        m_private = readFile(m_folder.filePath("private.pem"));
    }

    void verifies_data()
    {
        const Rows<cTrustKey, QByteArray, QByteArray, bool> row("key", "message", "signature", "isGood");
        for (const QJsonValue& each : QJsonDocument::fromJson(readFile(m_folder.filePath("signed.json"))).array()) {
            QString error;
            const auto key = cTrustKey::read("id", each["key"].toObject(), &error);
            QVERIFY2(key, qPrintable(error));
            row(qPrintable(each["name"].toString()), *key, QByteArray::fromHex(each["message"].toString().toLatin1()),
                QByteArray::fromHex(each["signature"].toString().toLatin1()), each["is_good"].toBool());
        }
    }

    void verifies()
    {
        const auto [key, message, signature, isGood] =
            cells<cTrustKey, QByteArray, QByteArray, bool>("key", "message", "signature", "isGood");
        QCOMPARE(key.verify(message, signature), isGood);
        if (!isGood)
            return;
        QVERIFY(!key.verify(message + '\n', signature));
        QVERIFY(!key.verify({}, signature));
        QVERIFY(!key.verify(message, signature + '\0'));
        QVERIFY(!cTrustKey::ofEd25519(QByteArray(32, '\7')).verify(message, signature));
        for (int at = 0; at < signature.size(); ++at) {
            QVERIFY2(!key.verify(message, signature.left(at)), qPrintable(QString::number(at)));
            QByteArray changed = signature;
            changed[at] = char(changed[at] ^ 1);
            QVERIFY2(!key.verify(message, changed), qPrintable(QString::number(at)));
        }
    }

    void signs()
    {
        // RFC 8032, section 7.1, the second test
        const QByteArray seed = QByteArray::fromHex("4ccd089b28ff96da9db6c346ec114e0f5b8a319f35aba624da8cf6ed4fb8a6fb");
        QCOMPARE(Cryptography::ed25519PointOf(seed).toHex(),
                 QByteArray("3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c"));
        QCOMPARE(Cryptography::signEd25519(seed, "\x72").toHex(),
                 QByteArray("92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da"
                            "085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00"));
    }

    void readsPrivateKeys()
    {
        QString error;
        const auto pair = KeyText::readPrivateKey(m_private, &error);
        QVERIFY2(pair, qPrintable(error));
        QCOMPARE(KeyText::writePrivateKey(*pair), m_private);

        const Cryptography::KeyPair made = Cryptography::makeEd25519();
        const auto again = KeyText::readPrivateKey(KeyText::writePrivateKey(made), &error);
        QVERIFY2(again, qPrintable(error));
        QCOMPARE(again->seed, made.seed);
        QVERIFY(cTrustKey::ofEd25519(again->point).verify("it", Cryptography::signEd25519(made.seed, "it")));
        QVERIFY(made.seed != Cryptography::makeEd25519().seed);
    }

    void refusesTexts_data()
    {
        const Rows<QByteArray, QString> row("text", "error");
        row("nothing", "", "no PEM text");
        row("too long", QByteArray(KeyText::MaxSize, ' ') + m_private, "no PEM text");
        row("cut off", m_private.left(m_private.size() - 20), "damaged");
        row("other content", QByteArray(m_private).replace("MC4CAQAw", "MC4CAQEw"), "no private key of Ed25519");
        row("encrypted", QByteArray(m_private).replace("PRIVATE", "ENCRYPTED PRIVATE"), "encrypted");
        row("a public one", QByteArray(m_private).replace("PRIVATE", "PUBLIC"), "no private key but a \"PUBLIC KEY\"");
    }

    void refusesTexts()
    {
        const auto [text, error] = cells<QByteArray, QString>("text", "error");
        QString reason;
        QVERIFY(!KeyText::readPrivateKey(text, &reason));
        QVERIFY2(reason.contains(error), qPrintable(reason));
        QVERIFY(!cTrustKey::ofPem(text, &reason));
    }

    void derivesIds()
    {
        const QByteArray point(32, 'x');
        const cTrustKey key = cTrustKey::ofEd25519(point);
        QByteArray form = R"({"keytype":"ed25519","keyval":{"public":"POINT"},"scheme":"ed25519"})";
        QCOMPARE(key.id().toLatin1(), Cryptography::sha256(form.replace("POINT", point.toHex())).toHex());
        // SubjectPublicKeyInfo, with other line ends, and none at the end
        const QByteArray pem = "-----BEGIN PUBLIC KEY-----\r\n" +
                               (QByteArray::fromHex("302a300506032b6570032100") + point).toBase64() +
                               "\r\n-----END PUBLIC KEY-----";
        QString error;
        QCOMPARE(cTrustKey::ofPem(pem, &error).value_or(cTrustKey()).id(), key.id());
    }

    void canonical_data(); // moc does not read all of its strings
    void canonical()
    {
        const auto [text, form, error] = cells<QByteArray, QByteArray, QString>("text", "form", "error");
        QString reason;
        const auto object = CanonicalJson::read(text, &reason);
        QVERIFY2(reason.contains(error), qPrintable(reason));
        QCOMPARE(object.has_value(), error.isEmpty());
        if (object)
            QCOMPARE(CanonicalJson::write(*object).value_or("none"), form);
        QCOMPARE(CanonicalJson::write(QJsonArray{1.5}).has_value(), false);
    }

private:
    QTemporaryDir m_folder;
    QByteArray m_private;
};

void tst_Keys::canonical_data()
{
    const auto nested = [](int depth) { return "{\"a\":" + QByteArray(depth, '[') + QByteArray(depth, ']') + "}"; };
    const Rows<QByteArray, QByteArray, QString> row("text", "form", "error");
    row("empty", " {\r\n\t} ", "{}", "");
    row("order", R"({"b":[1, {}, []],"a":{"d":null,"C":true},"":false})",
        R"({"":false,"a":{"C":true,"d":null},"b":[1,{},[]]})", "");
    row("order above U+FFFF", R"({"\ud83d\ude00":1,"\uff41":2,"z":3})", "{\"z\":3,\"\uff41\":2,\"\U0001f600\":1}", "");
    row("strings", R"({"a":"\"\\\/\n\u0001\u00e4 é:"})", "{\"a\":\"\\\"\\\\/\n\1\u00e4 \u00e9:\"}", "");
    row("numbers", R"({"a":[9223372036854775807,-9223372036854775808,9007199254740993,-0]})",
        R"({"a":[9223372036854775807,-9223372036854775808,9007199254740993,0]})", "");
    row("levels", nested(63), nested(63), "");
    row("too many levels", nested(64), "", "line 1, column 69: nested deeper");
    row("levels without an end", QByteArray(1000000, '['), "", "nested deeper");
    row("too many values", "[" + QByteArray(4000001, ','), "", "more than 4000000 values");
    row("twice", "{\"b\":0,\"a\":{\"x\":1,\n \"y\":2,\"x\":3}}", "", "line 2, column 8: \"x\" stands twice");
    row("twice, with an escape", R"({"ab":1,"\u0061b":2})", "", "column 9: \"ab\" stands twice");
    row("once in each", R"({"a":{"a":"a"},"b":[{"a":1},{"a":2}]})", R"({"a":{"a":"a"},"b":[{"a":1},{"a":2}]})", "");
    row("a fraction", R"({"a":1.0})", "", "column 6: a number that is not a whole one");
    row("an exponent", R"({"a":1e3})", "", "not a whole one");
    row("too large", R"({"a":9223372036854775808})", "", "not a whole one of 64 bits");
    row("half a pair", R"({"a":"\ud83d x"})", "", "half of a surrogate pair");
    row("the other half", R"({"a":"\ude00\ud83d"})", "", "half of a surrogate pair");
    row("half a pair in a name", R"({"\ud83d\u0041":1})", "", "half of a surrogate pair");
    row("no UTF-8", "{\"a\":\"\xff\"}", "", "line 1");
    row("UTF-8 of half a pair", "{\"a\":\"\xed\xa0\xbd\"}", "", "line 1");
    row("a line end in a string", "{\"a\":\"\n\"}", "", "control character");
    row("an escape of its own", R"({"a":"\x"})", "", "unknown escape");
    row("an escape cut off", R"({"a":"\u00)", "", "unknown escape");
    row("cut off", R"({"a":")", "", "line 1");
    row("more behind", "{}{}", "", "line 1");
    row("brackets crossed", "{[}]", "", "line 1");
    row("an array", "[1]", "", "not an object");
    row("nothing", "", "", "line 1, column");
}

QTEST_GUILESS_MAIN(tst_Keys)
#include "tst_Keys.moc"
