#include "version/FlatMap.h"

#include <QtTest/QtTest>

namespace {

/// Texts of "a" and "b" whose qHash() is one whatever the seed, where it is a sum of bits modulo two: which letters may
/// be turned is found by elimination.
QStringList textsOfOneHash(int count)
{
    constexpr int Length = 64;
    const QString plain(Length, 'a');
    QVector<QPair<uint, quint64>> rows;
    QVector<quint64> kernel;
    for (int i = 0; i < Length; ++i) {
        QString turned = plain;
        turned[i] = 'b';
        QPair<uint, quint64> row(qHash(turned, 1U) ^ qHash(plain, 1U), quint64(1) << i);
        for (const QPair<uint, quint64>& other : qAsConst(rows)) {
            if ((row.first ^ other.first) < row.first)
                row = {row.first ^ other.first, row.second ^ other.second};
        }
        if (row.first != 0)
            rows.append(row);
        else
            kernel.append(row.second);
    }
    for (int i = 0; kernel.size() < 16; ++i) // another kind of hash: any texts will do
        kernel.append(quint64(1) << i);
    QStringList texts;
    for (int i = 0; i < count; ++i) {
        quint64 turned = 0;
        for (int bit = 0; bit < kernel.size(); ++bit)
            turned ^= quint64(i) >> bit & 1 ? kernel[bit] : 0;
        QString text = plain;
        for (int letter = 0; letter < Length; ++letter)
            text[letter] = turned >> letter & 1 ? 'b' : 'a';
        texts.append(text);
    }
    return texts;
}

} // namespace

class tst_FlatMap : public QObject
{
    Q_OBJECT

private slots:
    void withstandsTextsOfOneHash()
    {
        const QStringList texts = textsOfOneHash(20000);
        FlatMap<QString, int> map;
        for (int i = 0; i < texts.size(); ++i)
            map.emplace(texts.at(i), i);
        QCOMPARE(map.size(), size_t(texts.size()));
        QVERIFY2(map.bucket_count() <= 8 * map.size(), qPrintable(QString::number(map.bucket_count())));
        for (int i = 0; i < texts.size(); ++i)
            QCOMPARE(map.find(QStringView(texts.at(i)))->second, i);
    }
    // A table takes the lowest bits: 2,048 places of which a thousand names are to meet about 790.
    void spreadsNamesThatDifferInTheirLastLetters()
    {
        for (const QString& stem : {QString(), QString("Feature"), QString("Plugin12")}) {
            QSet<size_t> places;
            for (int i = 0; i < 1000; ++i)
                places.insert(cSeededHash()(stem + QString::number(i)) & 2047);
            QVERIFY2(places.size() > 600, qPrintable(stem + QString::number(places.size())));
        }
    }
    void tellsTextsAndIdsApart()
    {
        const cSeededHash hash;
        QCOMPARE(hash(QString("ab")), hash(QStringView(u"ab")));
        QVERIFY(hash(QString("ab")) != hash(QString("ba")));
        QVERIFY(hash(QString()) != hash(QString(QChar())));
        const cPluginId id("A", cVersion("1.2.3"));
        QCOMPARE(hash(id), hash(cPluginId("A", cVersion("1.02.003"))));
        QVERIFY(hash(id) != hash(cPluginId("A", cVersion("1.3.2"))));
    }
};

QTEST_APPLESS_MAIN(tst_FlatMap)
#include "tst_FlatMap.moc"
