// Each step that is done in a fast way is held against the plain way, on a million seeded inputs where that is quick.

#include "json/JsonScan.h"
#include "json/cJsonMapBuilder.h"

#include "PlainJsonReader.h"

#include <NotHere.h>
#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonWriter.h>

#include <QtCore/QTextStream>
#include <QtTest/QTest>

#include <cstring>
#include <random>

namespace {

constexpr int Inputs = 1000000 / EachCase;

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

/// The middle between two texts of six digits, where a stream rounds up: exact where a double can be.
double anyTie()
{
    const double middle = below(900000) + 100000.5;
    const int power = below(30) - 14;
    if (power >= 0)
        return middle * std::pow(10, power);
    const double five = below(2) ? std::pow(5, -power) : 1; // as a factor it makes the quotient exact
    return (std::floor(middle / five) + 0.5) * five / std::pow(10, -power);
}

/// Doubles of all sizes, of everyday sizes, at ties and beside them, and below powers of ten.
double anyDouble(int i)
{
    const quint64 bits = s_random();
    double number;
    std::memcpy(&number, &bits, sizeof number);
    const double turn = std::pow(10, below(40) - 20);
    const double choices[] = {number,
                              std::ldexp(double(qint64(bits)), -below(120)),
                              anyTie(),
                              std::nextafter(anyTie(), below(2) ? 0.0 : 1e300),
                              below(2000000) - 1000000.0,
                              turn - turn * below(1000) * 1e-9,
                              std::ldexp(double(bits >> below(64)), -1074)};
    return i % 2 ? choices[i % 7] : -choices[i % 7];
}

/// Number tokens, most of them well formed: with few and many digits, small and large exponents, and at ties.
QByteArray anyToken(int i)
{
    if (i % 8 == 0)
        return "-0123456789"[below(11)] + textOf("0123456789.eE+-", below(8));
    const QByteArray sign = below(2) ? "-" : "";
    if (i % 8 == 1) { // odd numbers from 2^53 to 2^54 are the middle between two doubles
        const quint64 middle = (Q_UINT64_C(1) << 53) + (s_random() >> 11 | 1);
        return sign + QByteArray::number(middle) + (below(2) ? "." + QByteArray(below(30), '0') + textOf("01", 1) : "");
    }
    QByteArray token = sign + textOf("0123456789", 1 + below(12));
    if (below(3))
        token += '.' + textOf(i % 8 == 2 ? "00000001" : "0123456789", below(18));
    if (below(4))
        return token;
    token += below(2) ? 'e' : 'E';
    return token + (below(2) ? "-" : "") + QByteArray::number(below(i % 100 ? 40 : 400));
}

/// The rule as it stands: replacements over the whole text, then a walk over its units.
QByteArray escaped(QString text)
{
    text.replace('\\', "\\\\").replace('"', "\\\"").replace('\b', "\\b").replace('\f', "\\f");
    text.replace('\n', "\\n").replace('\r', "\\r").replace('\t', "\\t");
    QByteArray ascii;
    for (const QChar unit : qAsConst(text)) {
        if (unit.unicode() > 127)
            ascii += "\\u" + QByteArray::number(unit.unicode() + 0x10000, 16).mid(1);
        else
            ascii += char(unit.unicode());
    }
    return ascii;
}

QByteArray streamed(const cJsonValue& value)
{
    QByteArray text;
    QTextStream stream(&text);
    value.serialize(stream);
    stream.flush();
    return text;
}

bool isSame(const cJsonValue& a, const cJsonValue& b)
{
    const double left = a.toDouble();
    const double right = b.toDouble();
    return a == b && std::memcmp(&left, &right, sizeof left) == 0; // also the sign of zero
}

} // namespace

class tst_JsonSteps : public QObject
{
    Q_OBJECT

private slots:
    void writesDoubles()
    {
        for (int i = 0; i < Inputs; ++i) {
            const cJsonValue value(anyDouble(i));
            if (cJsonWriter::serialize(value) != streamed(value))
                QCOMPARE(cJsonWriter::serialize(value), streamed(value));
        }
    }
    void readsNumbers()
    {
        for (int i = 0; i < Inputs; ++i) {
            const QByteArray token = anyToken(i);
            const QByteArray text = below(2) ? token : '[' + token + ",7]";
            bool isPlainOk = false;
            const cJsonValue plain = PlainJsonReader(text).parse(&isPlainOk);
            cJsonValue value;
            if (cJsonReader::parse(text, value) != isPlainOk || !isSame(value, plain) ||
                !isSame(qAsConst(value)[0], plain[0]))
                QFAIL(text.constData());
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
    void writesStrings()
    {
        for (int i = 0; i < Inputs / 4; ++i) {
            QString text(below(i % 1000 ? 20 : 5000), QChar());
            for (QChar& c : text)
                c = QChar(ushort(i % 3 == 0 ? below(0x10000) : i % 3 == 1 ? below(256) : 32 + below(96)));
            const QByteArray expected = '"' + escaped(text) + '"';
            if (cJsonWriter::serialize(text) != expected || streamed(text) != expected)
                QFAIL(expected.constData());
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
