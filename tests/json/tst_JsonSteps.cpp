// Each step that is done in a fast way is held against the plain way, on a million seeded inputs.

#include "json/JsonDecimal.h"
#include "json/JsonDouble.h"
#include "json/JsonEscape.h"
#include "json/JsonNumber.h"
#include "json/JsonScan.h"
#include "json/cJsonMapBuilder.h"

#include "PlainJsonReader.h"

#include <Norvale/cJsonReader.h>

#include <QtCore/QTextStream>
#include <QtTest/QTest>

#include <cstring>
#include <random>

namespace {

constexpr int Inputs = 1000000;

std::mt19937_64 s_random(20100);

int below(int bound)
{
    return int(s_random() % quint64(bound));
}

/// Any text of @p size bytes out of @p alphabet.
QByteArray textOf(const QByteArray& alphabet, int size)
{
    QByteArray text(size, '\0');
    for (char& c : text)
        c = alphabet.at(below(alphabet.size()));
    return text;
}

/// Doubles of all sizes, of everyday sizes, near the middle between two texts, and whole ones.
double anyDouble(int i)
{
    const quint64 bits = s_random();
    double number;
    std::memcpy(&number, &bits, sizeof number);
    const double choices[] = {number, std::ldexp(double(qint64(bits)), -below(120)),
                              (below(9000000) + 0.5) * std::pow(10, below(30) - 15), below(2000000) - 1000000.0};
    return choices[i % 4];
}

/// Number tokens, most of them well formed.
QByteArray anyToken(int i)
{
    if (i % 8 == 0)
        return "-0123456789"[below(11)] + textOf("0123456789.eE+-", below(8));
    QByteArray token = (below(2) ? "-" : "") + textOf("0123456789", 1 + below(12));
    if (below(3))
        token += '.' + textOf("0123456789", below(18));
    if (!below(4))
        token += QByteArray("e") + (below(2) ? "-" : "") + QByteArray::number(below(i % 100 ? 40 : 400));
    return token;
}

} // namespace

class tst_JsonSteps : public QObject
{
    Q_OBJECT

private slots:
    void writeDouble()
    {
        int taken = 0;
        for (int i = 0; i < Inputs; ++i) {
            const double number = anyDouble(i);
            char text[JsonDouble::MaxSize];
            const char* const end = JsonDouble::write(number, text);
            if (!end)
                continue;
            ++taken;
            QString expected;
            QTextStream(&expected) << number;
            if (expected != QLatin1String(text, int(end - text)))
                QCOMPARE(QByteArray(text, int(end - text)), expected.toLatin1());
        }
        QVERIFY2(taken > Inputs / 3, "the fast way is hardly ever taken");
    }
    void decodeNumber()
    {
        for (int i = 0; i < Inputs; ++i) {
            const QByteArray token = anyToken(i);
            const QByteArray text = token + (below(2) ? "," : "");
            const char* at = text.constData();
            const JsonNumber::Number fast = JsonNumber::decode(at, text.constData() + text.size());
            QCOMPARE(int(at - text.constData()), token.size());
            const JsonNumber::Number plain = JsonNumber::decodePlain(token.begin(), token.end());
            const bool isDouble = plain.type == DoubleType;
            bool ok = true;
            if (fast.type != plain.type || std::memcmp(&fast.asDouble, &plain.asDouble, isDouble ? 8 : 4) != 0 ||
                (isDouble && JsonNumber::toDoublePlain(token.begin(), token.end(), &ok) != plain.asDouble) || !ok)
                QFAIL(token.constData());
        }
    }
    void leadingDigits()
    {
        for (int i = 0; i < Inputs; ++i) {
            const QByteArray digits("0123456789/:.\xff\xfa", 15);
            const QByteArray text = textOf(i % 2 ? digits : digits.left(10), 7) + char(below(256));
            quint64 fast = 0;
            quint64 plain = 0;
            if (JsonDecimal::leadingDigits(text.constData(), &fast) !=
                    JsonDecimal::leadingDigitsPlain(text.constData(), 8, &plain) ||
                fast != plain)
                QFAIL(text.toHex().constData());
        }
    }
    void scans()
    {
        const QByteArray quotes = textOf(QByteArray(30, 'x') + "\"\\\xa2\xdc", 1 << 20);
        const QByteArray spaces = textOf(QByteArray(60, ' ') + "\n\r\t\x0b\xa0!", 1 << 20);
        for (int i = 0; i < Inputs; ++i) {
            const int size = below(80);
            const int at = below(quotes.size() - size);
            const char* const quote = quotes.constData() + at;
            const char* const space = spaces.constData() + at;
            QVERIFY(JsonScan::findQuote(quote, quote + size) == JsonScan::findQuotePlain(quote, quote + size));
            QVERIFY(JsonScan::skipSpaces(space, space + size) == JsonScan::skipSpacesPlain(space, space + size));
        }
    }
    void escape()
    {
        for (int i = 0; i < Inputs; ++i) {
            QString text(below(20), QChar());
            for (QChar& c : text)
                c = QChar(ushort(i % 3 == 0 ? below(0x10000) : i % 3 == 1 ? below(256) : 32 + below(96)));
            char out[20 * JsonEscape::MaxUnit + JsonEscape::Slack];
            const QByteArray fast(out, int(JsonEscape::write(text.constData(), text.size(), out) - out));
            if (fast != JsonEscape::plain(text))
                QCOMPARE(fast, JsonEscape::plain(text));
            const char* const end = JsonEscape::copyAscii(text.constData(), text.size(), out);
            const bool isAscii = std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() < 128; });
            QVERIFY(isAscii ? QByteArray(out, int(end - out)) == text.toLatin1() : !end);
        }
    }
    void maps()
    {
        const QString names[] = {"delta", "alpha", "charlie", "bravo", "", "echo"};
        cJsonValue choices;
        QVERIFY(cJsonReader::parse("[null,true,false,0,1,0.0,1.0,\"x\",\"\",[1],[1,2],[],{},{\"a\":1}]", choices));
        choices.append(1u);
        cJsonMapBuilder builder(2, 2);
        for (int i = 0; i < Inputs / 10; ++i) {
            const int count = below(6);
            const int first = below(2);
            const QString* keys[6];
            cJsonValue* const values = static_cast<cJsonValue*>(std::malloc(sizeof(cJsonValue) * 6));
            cJsonMapBuilder::Map plain;
            for (int k = 0; k < count; ++k) {
                keys[k] = &names[i % 5 == 0 ? below(6) : (first + k) % 6];
                new (values + k) cJsonValue(choices[below(i % 7 ? int(choices.size()) : 3)]);
                plain.insert(*keys[k], values[k]);
            }
            QVERIFY(builder.build(keys, values, count) == plain); // the values' bytes are in the map now
            std::free(static_cast<void*>(values));
        }
    }
    void reader()
    {
        const QList<QByteArray> parts =
            QByteArray(R"({~}~[~]~,~:~"a"~"b":~"":~1~-2.5~"\n"~true~null~/*c*/~ ~"\x"~{"k":1,"j":2}~[1])").split('~');
        for (int i = 0; i < Inputs; ++i) {
            // Long texts are read with what has been read before in mind.
            QByteArray text = QByteArray(i % 4 ? 0 : 5000, ' ') + (i % 2 ? "[" : "{\"a\":");
            for (int k = below(i % 4 ? 12 : 40); k > 0; --k)
                text += parts.at(below(parts.size()));
            bool isOk = false;
            cJsonValue value;
            const cJsonValue plain = PlainJsonReader(text).parse(&isOk);
            if (cJsonReader::parse(text, value) != isOk || value != plain || plain != value)
                QFAIL(text.constData());
        }
    }
};

QTEST_APPLESS_MAIN(tst_JsonSteps)
#include "tst_JsonSteps.moc"
