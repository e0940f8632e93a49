#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cJsonWriter.h>
#include <Rows.h>

#include <cmath>
#include <limits>
#include <stdexcept>

Q_DECLARE_METATYPE(cJsonValue)

static constexpr int Levels = 1000000;

static QByteArray repeated(const QByteArray& part)
{
    return part.repeated(Levels / (part.count('[') + part.count('{')));
}

/// Runs @p task on a thread of its own, with Qt's default stack, and waits for it.
template <typename Task>
static bool onThread(Task task)
{
    bool isDone = false;
    const QScopedPointer<QThread> thread(QThread::create([&] { isDone = task(); }));
    thread->start();
    return thread->wait() && isDone;
}

static cJsonValue read(const QByteArray& text)
{
    cJsonValue value;
    if (!cJsonReader::parse(text, value))
        QTest::qFail(text.constData(), __FILE__, __LINE__);
    return value;
}

class tst_cJsonValue : public QObject
{
    Q_OBJECT

private slots:
    void numbers_data()
    {
        constexpr int MinInt = std::numeric_limits<int>::min();
        const Rows<cJsonValue, int, uint, double> row("value", "asInt", "asUInt", "asDouble");
        row("null", cJsonValue(), 0, 0, 0);
        row("negative int", -1, -1, 4294967295u, -1);
        row("large uint", 4294967295u, -1, 4294967295u, 4294967295.0);
        row("negative fraction", -2.9, -2, 4294967294u, -2.9);
        row("lowest int", -2147483648.5, MinInt, 2147483648u, -2147483648.5);
        row("beyond int", 2147483648.0, MinInt, 2147483648u, 2147483648.0);
        row("beyond uint", 4294967301.0, MinInt, 5, 4294967301.0);
        row("beyond 64 bits", 1e30, MinInt, 0, 1e30);
        row("nan", std::nan(""), MinInt, 0, std::nan(""));
        row("string", "12", 0, 0, 0);
        row("boolean", true, 0, 0, 0);
    }
    void numbers()
    {
        QFETCH(cJsonValue, value);
        QTEST(value.toInt(), "asInt");
        QTEST(value.toUInt(), "asUInt");
        QTEST(value.toDouble(), "asDouble");
    }
    void nothingIsConverted()
    {
        QVERIFY(!cJsonValue(1).toBool());
        QVERIFY(!cJsonValue("true").toBool());
        QVERIFY(cJsonValue(12).toString().isNull());
        QCOMPARE(cJsonValue("\xc3\xa9").toString(), QString(QChar(0xe9)));
        QVERIFY(cJsonValue(ArrayType).empty());
        QVERIFY(cJsonValue(ObjectType).empty());
        QVERIFY(!cJsonValue().empty());
        QVERIFY(!cJsonValue("").empty()); // only containers can be
    }
    void indexMakesAnArray()
    {
        cJsonValue value;
        value[3] = 7;
        const cJsonValue& reading = value;
        QVERIFY(value == read("[null,null,null,7]"));
        QCOMPARE(&reading[4], &cJsonValue::null());
        QCOMPARE(&reading[-1], &cJsonValue::null());
        QVERIFY(value.get(9, "none") == "none");
        QVERIFY(value.get(-9, "none") == "none");
        QVERIFY(value.get(3, 0) == 7);
        value[-5] = "first";
        QVERIFY(value == read(R"(["first",null,null,7])"));
        QVERIFY(read("[1,2,3]").deleteAt(0).deleteAt(5).deleteAt(-1) == read("[2,3]"));
    }
    void keyMakesAnObject()
    {
        cJsonValue value;
        value["b"] = 1;
        value["\xc3\xa9"] = 2;
        value.insert("b", cJsonValue()).insert("A", 3);
        QCOMPARE(value.keys(), (QStringList{"A", "b", QChar(0xe9)}));
        QVERIFY(value.contains("b"));
        QVERIFY(value.get(QString("b"), 3).isNull());
        QCOMPARE(value.deleteKey("b").deleteKey("x").size(), 2u);
        QVERIFY(!value.contains("b"));
        QVERIFY(value.get("b", 3) == 3);
        const cJsonValue& reading = value;
        QCOMPARE(&reading[QString("b")], &cJsonValue::null());
        try {
            reading["b"];
            QFAIL("no exception");
        } catch (const std::out_of_range& error) {
            QCOMPARE(error.what(), "key not found");
        }
    }
    void slotsCoexist()
    {
        cJsonValue value("text");
        value.append(1).append(2);
        value["key"] = 3;
        QVERIFY(value == read(R"({"key":3})"));
        const cJsonValue& reading = value;
        QVERIFY(reading[1] == 2);
        QCOMPARE(value.toString(), "text");
        value.append(4);
        QVERIFY(value == read("[1,2,4]"));
        QVERIFY(!value.contains("key"));
        QVERIFY(value.keys().isEmpty());
        QVERIFY(value.get("key", 0) == 3);
        value.clear();
        QVERIFY(value.empty());
        QVERIFY(reading["key"] == 3);
    }
    void addsItself()
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
    void compares_data()
    {
        // s: strictly equal, e: equal, v: equivalent, c: the first is contained in the second
        const Rows<cJsonValue, cJsonValue, QString> row("a", "b", "claims");
        row("null", cJsonValue(), cJsonValue(), "sev");
        row("int and uint", 1, 1u, "ev");
        row("uint and int", 1u, 1, "ev");
        row("same bits", -1, 4294967295u, "");
        row("int and double", 1, 1.0, "v");
        row("near", 1.0, 1 + 1e-13, "v");
        row("not near", 1.0, 1 + 1e-11, "");
        row("nothing is near 0", 0, 1e-300, "");
        row("nan", std::nan(""), std::nan(""), "");
        row("empty and null", "", QString(), "sev");
        row("arrays", read("[1,[2,[]],{}]"), read("[1,[2,[]],{}]"), "sev");
        row("other element", read("[1,[2,[3]]]"), read("[1,[2,[4]]]"), "");
        row("strict inside", read("[1]"), read("[1.0]"), "");
        row("lengths", read("[1]"), read("[1,1]"), "");
        row("array and object", read("[]"), read("{}"), "");
        row("objects", read(R"({"a":{"b":1},"c":2})"), read(R"({"c":2,"a":{"b":1}})"), "sevc");
        row("empty objects", read("{}"), read("{}"), "sevc");
        row("other member", read(R"({"a":{"b":1}})"), read(R"({"a":{"b":2}})"), "");
        row("absent is null", read(R"({"a":null,"b":1})"), read(R"({"b":1,"c":5})"), "sev");
        row("null is not absent", read(R"({"b":1,"c":5})"), read(R"({"a":null,"b":1})"), "");
        row("equivalent member", read(R"({"a":1})"), read(R"({"a":1.0,"b":2})"), "c");
        row("nested is no subset", read(R"({"a":{"x":1}})"), read(R"({"a":{"x":1,"y":2}})"), "");
        row("no type", JsonValueType(9), JsonValueType(9), "");
    }
    void compares()
    {
        const auto [a, b] = cells<cJsonValue, cJsonValue>("a", "b");
        QString claims = a == b ? "s" : "";
        claims += a.equalTo(b, false) ? "e" : "";
        claims += a.equivalentTo(b) ? "v" : "";
        claims += a.containedIn(b) ? "c" : "";
        QTEST(claims, "claims");
        QCOMPARE(a != b, !(a == b));
        QCOMPARE(a.notEqualTo(b, false), !a.equalTo(b, false));
        QCOMPARE(a.notEquivalentTo(b), !a.equivalentTo(b));
    }
    void sameObject()
    {
        cJsonValue nan(std::nan(""));
        QVERIFY(nan == nan);
        QVERIFY(nan.equivalentTo(nan));
        cJsonValue array;
        array.append(nan);
        const cJsonValue sharing = array;
        QVERIFY(array == sharing); // the element is the same object
        array[0] = nan;
        QVERIFY(array != sharing);
    }
    void toVariant()
    {
        const QVariant variant = read(R"({"a":[1,2.5,"x",true,null,4000000000],"b":{"c":[]}})").toVariant();
        const QVariantList list{1, 2.5, "x", true, QVariant(), 4000000000u};
        QCOMPARE(variant, QVariant(QVariantMap{{"a", list}, {"b", QVariantMap{{"c", QVariantList()}}}}));
        QCOMPARE(variant.toMap()["a"].toList()[5].userType(), int(QMetaType::UInt));
        QVERIFY(!cJsonValue().toVariant().isValid());
        const cJsonValue deep = read(QByteArray(2000, '[') + QByteArray(2000, ']')); // is kept on every system
        QVERIFY(cJsonValue(deep.toVariant()) == deep);
    }
    void fromVariant_data()
    {
        const Rows<QVariant, cJsonValue> row("variant", "value");
        row("invalid", QVariant(), cJsonValue());
        row("null string", QString(), cJsonValue());
        row("string is an int", "12", 12);
        row("text is an int", "text", 0);
        row("double is an int", 2.0, 2);
        row("half is rounded up", -2.5, -2);
        row("boolean is an int", true, 1);
        row("null bytes", QByteArray(), cJsonValue());
        row("null time", QTime(), cJsonValue());
        row("null of Qt's JSON", QJsonValue(), cJsonValue());
        row("fraction of Qt's JSON", QJsonValue(2.7), 2);
        row("one text", QStringList("a"), "a");
        row("texts", QStringList{"1", ""}, read("[1,0]"));
        row("list", QVariantList{1, QVariantList{2}, QVariant()}, read("[1,[2],null]"));
        row("map", QVariantMap{{"b", 1}, {"a", QVariantList{3}}}, read(R"({"b":1,"a":[3]})"));
        row("no conversion", QPoint(1, 2), cJsonValue());
    }
    void fromVariant()
    {
        const auto [variant, value] = cells<QVariant, cJsonValue>("variant", "value");
        QVERIFY(cJsonValue(variant) == value);
    }
    void fromVariantAdds()
    {
        cJsonValue value = read("[1]");
        value.fromVariant(QVariantList{2});
        QVERIFY(value == read("[1,2]"));
        value["k"] = 1;
        value.fromVariant(QVariantMap{{"l", 2}});
        QVERIFY(value == read(R"({"k":1,"l":2})"));
        value.fromVariant(7);
        const cJsonValue& reading = value;
        QVERIFY(value == 7);
        QVERIFY(reading[1] == 2);
        QVERIFY(reading["l"] == 2);
    }
    void levels_data()
    {
        const Rows<QByteArray, bool> row("text", "ok");
        row("arrays", repeated("[") + '1' + QByteArray(Levels, ']'), true);
        row("objects", repeated("{\"a\":") + '1' + QByteArray(Levels, '}'), true);
        row("mixed", repeated("[1,{\"a\":2,\"b\":") + "null" + QByteArray("}]").repeated(Levels / 2), true);
        // Each open level fails and looks for its closing bracket: that must not cost a walk over the rest for each.
        row("not closed", repeated("[{\"a\":"), false);
        row("closed the wrong way", repeated("[{\"a\":") + QByteArray("]}").repeated(Levels / 2), false);
        row("tokens behind", repeated("[") + "1 2" + QByteArray("\"x\" /* c */ ").repeated(Levels / 10), false);
        row("quotes behind", repeated("[") + "1 2" + QByteArray(Levels, '"'), false);
        row("comments behind", repeated("{\"a\":") + "?" + QByteArray("/* ").repeated(Levels / 10), false);
    }
    void levels()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, ok);
        QVERIFY(onThread([&] {
            cJsonValue value;
            cJsonValue again;
            if (cJsonReader::parse(text, value) != ok || cJsonReader::parse(text, again) != ok)
                return false;
            cJsonValue copy = value;
            copy.append(1);
            const bool isSame = value == again && value.equivalentTo(again) && value.notEqualTo(copy, true);
            again = cJsonValue();
            return isSame && (!ok || cJsonWriter::serialize(value) == text) && value.toVariant().isValid() &&
                   value.prettyPrint(0).size() > 2 * Levels;
        }));
    }
};

QTEST_APPLESS_MAIN(tst_cJsonValue)
#include "tst_cJsonValue.moc"
