#include <Norvale/cJsonValue.h>

#include <Norvale/cJsonReader.h>

#include <QtCore/QVariant>
#include <QtTest/QTest>

#include <cmath>
#include <limits>
#include <stdexcept>

namespace {

cJsonValue read(const char* text)
{
    cJsonValue value;
    if (!cJsonReader::parse(text, value))
        QTest::qFail(text, __FILE__, __LINE__);
    return value;
}

constexpr int MinInt = std::numeric_limits<int>::min();

} // namespace

Q_DECLARE_METATYPE(cJsonValue)

class tst_cJsonValue : public QObject
{
    Q_OBJECT

private slots:
    void numbers_data();
    void numbers();
    void nothingIsConverted();
    void indexMakesAnArray();
    void keyMakesAnObject();
    void slotsCoexist();
    void lookups();
    void removing();
    void addsItself();
    void equality_data();
    void equality();
    void sameObject();
    void containment_data();
    void containment();
    void toVariant();
    void fromVariant_data();
    void fromVariant();
    void fromVariantAdds();
};

void tst_cJsonValue::numbers_data()
{
    QTest::addColumn<cJsonValue>("value");
    QTest::addColumn<int>("asInt");
    QTest::addColumn<uint>("asUInt");
    QTest::addColumn<double>("asDouble");
    QTest::newRow("null") << cJsonValue() << 0 << 0u << 0.0;
    QTest::newRow("negative int") << cJsonValue(-1) << -1 << 4294967295u << -1.0;
    QTest::newRow("large uint") << cJsonValue(4294967295u) << -1 << 4294967295u << 4294967295.0;
    QTest::newRow("fraction") << cJsonValue(2.9) << 2 << 2u << 2.9;
    QTest::newRow("negative fraction") << cJsonValue(-2.9) << -2 << 4294967294u << -2.9;
    QTest::newRow("lowest int") << cJsonValue(-2147483648.5) << MinInt << 2147483648u << -2147483648.5;
    QTest::newRow("beyond int") << cJsonValue(2147483648.0) << MinInt << 2147483648u << 2147483648.0;
    QTest::newRow("beyond uint") << cJsonValue(4294967301.0) << MinInt << 5u << 4294967301.0;
    QTest::newRow("beyond 64 bits") << cJsonValue(1e30) << MinInt << 0u << 1e30;
    QTest::newRow("string") << cJsonValue("12") << 0 << 0u << 0.0;
    QTest::newRow("boolean") << cJsonValue(true) << 0 << 0u << 0.0;
}

void tst_cJsonValue::numbers()
{
    QFETCH(cJsonValue, value);
    QTEST(value.toInt(), "asInt");
    QTEST(value.toUInt(), "asUInt");
    QTEST(value.toDouble(), "asDouble");
    QCOMPARE(cJsonValue(std::nan("")).toInt(), MinInt);
}

void tst_cJsonValue::nothingIsConverted()
{
    QCOMPARE(cJsonValue(1).toBool(), false);
    QCOMPARE(cJsonValue("true").toBool(), false);
    QCOMPARE(cJsonValue(12).toString(), QString());
    QCOMPARE(cJsonValue("\xc3\xa9").toString(), QString(QChar(0xe9)));
    QCOMPARE(cJsonValue("\xc3\xa9").toUtf8(), QByteArray("\xc3\xa9"));
    QVERIFY(cJsonValue().isNull() && cJsonValue().size() == 0 && !cJsonValue().empty());
    QVERIFY(cJsonValue(ArrayType).empty() && cJsonValue(ObjectType).empty() && !cJsonValue("").empty());
}

void tst_cJsonValue::indexMakesAnArray()
{
    cJsonValue value;
    value[3] = 7;
    QCOMPARE(value.size(), 4u);
    QVERIFY(value.isArray() && value[0].isNull() && value[3] == 7);
    const cJsonValue& reading = value;
    QCOMPARE(&reading[4], &cJsonValue::null());
    QCOMPARE(&reading[-1], &cJsonValue::null());
    QVERIFY(value.get(9, "none") == "none" && value.get(-9, "none") == "none" && value.get(3, 0) == 7);
    value[-5] = "first";
    QVERIFY(value[0] == "first" && value.size() == 4);
}

void tst_cJsonValue::keyMakesAnObject()
{
    cJsonValue value;
    value["a"] = 1;
    value["\xc3\xa9"] = 2;
    QVERIFY(value.isObject() && value.size() == 2 && value[QString(QChar(0xe9))] == 2);
    QCOMPARE(read(R"({"b":1,"B":2,"a":3})").keys(), (QStringList{"B", "a", "b"}));
    QVERIFY(value.insert("a", 5).insert("c", 6).size() == 3 && value["a"] == 5);
}

void tst_cJsonValue::slotsCoexist()
{
    cJsonValue value("text");
    value.append(1).append(2);
    value["key"] = 3;
    QVERIFY(value.isObject() && value.size() == 1 && value.keys() == QStringList{"key"});
    const cJsonValue& reading = value;
    QVERIFY(reading[1] == 2 && value.toString() == "text");
    value.append(4);
    QVERIFY(value.isArray() && value.size() == 3 && value[2] == 4 && reading["key"] == 3);
    QVERIFY(!value.contains("key") && value.keys().isEmpty() && value.get("key", 0) == 3);
    value.clear();
    QVERIFY(value.empty() && reading["key"] == 3);
}

void tst_cJsonValue::lookups()
{
    const cJsonValue value = read(R"({"a":null})");
    QVERIFY(value.contains("a") && value.contains(QString("a")) && !value.contains("b"));
    QCOMPARE(&value[QString("b")], &cJsonValue::null());
    QVERIFY(value["a"].isNull());
    try {
        value["b"];
        QFAIL("no exception");
    } catch (const std::out_of_range& error) {
        QCOMPARE(error.what(), "key not found");
    }
    QVERIFY(value.get("b", 3) == 3 && value.get(QString("a"), 3).isNull());
}

void tst_cJsonValue::removing()
{
    cJsonValue array = read("[1,2,3]");
    QVERIFY(array.deleteAt(0).deleteAt(5).deleteAt(-1) == read("[2,3]"));
    cJsonValue object = read(R"({"a":1,"b":2})");
    QVERIFY(object.deleteKey("a").deleteKey("x") == read(R"({"b":2})"));
}

void tst_cJsonValue::addsItself()
{
    cJsonValue value = read(R"([1,{"a":[2]}])");
    value.append(value);
    QVERIFY(value == read(R"([1,{"a":[2]},[1,{"a":[2]}]])"));
    value = value[1];
    QVERIFY(value == read(R"({"a":[2]})"));
    value.insert("b", value);
    QVERIFY(value == read(R"({"a":[2],"b":{"a":[2]}})"));
    value = std::move(value["a"]);
    QVERIFY(value == read("[2]"));
    cJsonValue copy = value;
    copy[0] = 9;
    QVERIFY(value[0] == 2);
}

void tst_cJsonValue::equality_data()
{
    QTest::addColumn<cJsonValue>("a");
    QTest::addColumn<cJsonValue>("b");
    QTest::addColumn<QByteArray>("claims"); // s: strictly equal, e: equal, v: equivalent
    const double nan = std::nan("");
    QTest::newRow("null") << cJsonValue() << cJsonValue() << QByteArray("sev");
    QTest::newRow("int and uint") << cJsonValue(1) << cJsonValue(1u) << QByteArray("ev");
    QTest::newRow("uint and int") << cJsonValue(1u) << cJsonValue(1) << QByteArray("ev");
    QTest::newRow("same bits") << cJsonValue(-1) << cJsonValue(4294967295u) << QByteArray();
    QTest::newRow("int and double") << cJsonValue(1) << cJsonValue(1.0) << QByteArray("v");
    QTest::newRow("near") << cJsonValue(1.0) << cJsonValue(1 + 1e-13) << QByteArray("v");
    QTest::newRow("not near") << cJsonValue(1.0) << cJsonValue(1 + 1e-11) << QByteArray();
    QTest::newRow("nothing is near 0") << cJsonValue(0) << cJsonValue(1e-300) << QByteArray();
    QTest::newRow("nan") << cJsonValue(nan) << cJsonValue(nan) << QByteArray();
    QTest::newRow("case") << cJsonValue("a") << cJsonValue("A") << QByteArray();
    QTest::newRow("empty and null") << cJsonValue("") << cJsonValue(QString()) << QByteArray("sev");
    QTest::newRow("booleans") << cJsonValue(true) << cJsonValue(true) << QByteArray("sev");
    QTest::newRow("arrays") << read("[1,[2,[]],{}]") << read("[1,[2,[]],{}]") << QByteArray("sev");
    QTest::newRow("other element") << read("[1,[2,[3]]]") << read("[1,[2,[4]]]") << QByteArray();
    QTest::newRow("strict inside") << read("[1]") << read("[1.0]") << QByteArray();
    QTest::newRow("lengths") << read("[1]") << read("[1,1]") << QByteArray();
    QTest::newRow("array and object") << read("[]") << read("{}") << QByteArray();
    QTest::newRow("objects") << read(R"({"a":{"b":1},"c":2})") << read(R"({"c":2,"a":{"b":1}})") << QByteArray("sev");
    QTest::newRow("other member") << read(R"({"a":{"b":1}})") << read(R"({"a":{"b":2}})") << QByteArray();
    QTest::newRow("absent is null") << read(R"({"a":null,"b":1})") << read(R"({"b":1,"c":5})") << QByteArray("sev");
    QTest::newRow("null is not absent") << read(R"({"b":1,"c":5})") << read(R"({"a":null,"b":1})") << QByteArray();
    QTest::newRow("no type") << cJsonValue(JsonValueType(9)) << cJsonValue(JsonValueType(9)) << QByteArray();
}

void tst_cJsonValue::equality()
{
    QFETCH(cJsonValue, a);
    QFETCH(cJsonValue, b);
    QFETCH(QByteArray, claims);
    QCOMPARE(a == b, claims.contains('s'));
    QCOMPARE(a != b, !claims.contains('s'));
    QCOMPARE(a.equalTo(b, false), claims.contains('e'));
    QCOMPARE(a.notEqualTo(b, false), !claims.contains('e'));
    QCOMPARE(a.equivalentTo(b), claims.contains('v'));
    QCOMPARE(a.notEquivalentTo(b), !claims.contains('v'));
}

void tst_cJsonValue::sameObject()
{
    cJsonValue nan(std::nan(""));
    QVERIFY(nan == nan && nan.equivalentTo(nan));
    cJsonValue array;
    array.append(nan);
    const cJsonValue sharing = array;
    QVERIFY(array == sharing); // the element is the same object
    array[0] = nan;
    QVERIFY(array != sharing);
}

void tst_cJsonValue::containment_data()
{
    QTest::addColumn<cJsonValue>("part");
    QTest::addColumn<cJsonValue>("whole");
    QTest::addColumn<bool>("isContained");
    QTest::newRow("equivalent member") << read(R"({"a":1})") << read(R"({"a":1.0,"b":2})") << true;
    QTest::newRow("empty") << read("{}") << read("{}") << true;
    QTest::newRow("absent") << read(R"({"a":null})") << read(R"({"b":null})") << false;
    QTest::newRow("nested is no subset") << read(R"({"a":{"x":1}})") << read(R"({"a":{"x":1,"y":2}})") << false;
    QTest::newRow("array") << read("[1]") << read("[1]") << false;
}

void tst_cJsonValue::containment()
{
    QFETCH(cJsonValue, part);
    QFETCH(cJsonValue, whole);
    QTEST(part.containedIn(whole), "isContained");
}

void tst_cJsonValue::toVariant()
{
    const QVariantMap map{{"a", QVariantList{1, 2.5, "x", true, QVariant(), 4000000000u}},
                          {"b", QVariantMap{{"c", QVariantList()}}}};
    const cJsonValue value = read(R"({"a":[1,2.5,"x",true,null,4000000000],"b":{"c":[]}})");
    QCOMPARE(value.toVariant(), QVariant(map));
    QCOMPARE(value.toVariant().toMap()["a"].toList()[5].userType(), int(QMetaType::UInt));
    QVERIFY(!cJsonValue().toVariant().isValid());
}

void tst_cJsonValue::fromVariant_data()
{
    QTest::addColumn<QVariant>("variant");
    QTest::addColumn<cJsonValue>("value");
    QTest::newRow("invalid") << QVariant() << cJsonValue();
    QTest::newRow("null string") << QVariant(QString()) << cJsonValue();
    QTest::newRow("string is an int") << QVariant("12") << cJsonValue(12);
    QTest::newRow("text is an int") << QVariant("text") << cJsonValue(0);
    QTest::newRow("double is an int") << QVariant(2.0) << cJsonValue(2);
    QTest::newRow("boolean is an int") << QVariant(true) << cJsonValue(1);
    QTest::newRow("list") << QVariant(QVariantList{1, QVariantList{2}, QVariant()}) << read("[1,[2],null]");
    QTest::newRow("map") << QVariant(QVariantMap{{"b", 1}, {"a", QVariantMap{{"c", QVariantList{3}}}}})
                         << read(R"({"b":1,"a":{"c":[3]}})");
    QTest::newRow("no conversion") << QVariant(QPoint(1, 2)) << cJsonValue();
}

void tst_cJsonValue::fromVariant()
{
    QFETCH(QVariant, variant);
    QFETCH(cJsonValue, value);
    QVERIFY(cJsonValue(variant) == value);
}

void tst_cJsonValue::fromVariantAdds()
{
    cJsonValue value = read("[1]");
    value.fromVariant(QVariantList{2});
    QVERIFY(value == read("[1,2]"));
    value["k"] = 1;
    value.fromVariant(QVariantMap{{"l", 2}});
    QVERIFY(value == read(R"({"k":1,"l":2})"));
    value.fromVariant(7);
    const cJsonValue& reading = value;
    QVERIFY(value == 7 && reading[1] == 2 && reading["l"] == 2);
}

QTEST_APPLESS_MAIN(tst_cJsonValue)
#include "tst_cJsonValue.moc"
