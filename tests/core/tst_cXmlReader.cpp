#include "core/cXmlReader.h"
#include "core/cXmlTree.h"

#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

/// Forms of documents: a capital stands for any of its forms.
static const QMap<char, QList<QByteArray>> Forms{
    {'H',
     {"", "<?xml version=\"1.0\" encoding=\"utf-8\"?>",
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"}},
    {'E', {"<pA/>", "<pA>C</p>", "<pluginA >C</plugin\n>", "<x:yA\n/>", "<_z.1A>C</_z.1 >", "<Y-2A>C</Y-2>"}},
    {'C', {"S", "SES", "SESES", "SESESES"}},
    {'A', {"", " a=\"V\"", "\nb = \"V\"", "\t c=\"V\" a= \"V\""}},
    {'V', {"", "P", "PP", "PPP"}},
    {'P', QByteArray("x~ ~\xc3\xa4~\xe2\x82\xac~\xf0\x9f\x98\x80~>~]]~'~/~=~\xc2\xa0~\xe2\x80\xa8~\x7f").split('~')},
    {'S', {"", "W", "P", "PWP", "WPW"}},
    {'W', {"", " ", "\n", "\t", "  \n"}}};

static QByteArray expand(QRandomGenerator& random, const QByteArray& form, int depth)
{
    QByteArray text;
    for (char c : form) {
        const auto forms = Forms.constFind(c);
        if (forms == Forms.constEnd())
            text += c;
        else
            text += expand(random, forms->at(depth < 0 && c == 'E' ? 0 : random.bounded(forms->size())),
                           depth - (c == 'E'));
    }
    return text;
}

static QByteArray randomDocument(QRandomGenerator& random)
{
    const QList<QByteArray> spoilers =
        QByteArray("&amp;~&#32;~&x;~<!-- x -->~<![CDATA[ ]]>~<?x y?>~\r\n~\n~<~>~/~\"~'~=~ ~a~&~\xe4~\x01~?~!")
            .split('~');
    QByteArray xml = expand(random, "HEW", 3);
    if (random.bounded(3) == 0)
        xml.insert(random.bounded(xml.size() + 1), spoilers.at(random.bounded(spoilers.size())));
    return random.bounded(20) == 0 ? xml.left(random.bounded(xml.size())) : xml;
}

/// A reader of content alone, for which the blanks between tags are dropped before the document is read.
class cContentTree : public cXmlTree
{
    bool asksForPlaces() const override { return false; }
};

static QString textOf(const cXmlElement& element, bool withPlaces)
{
    QStringList parts{element.tag().toString(), element.attribute(u"a"), element.attribute(u"b", "-"),
                      element.attribute(u"c"), element.text()};
    if (withPlaces)
        parts.append(QString::number(element.line()));
    for (cXmlElement child = element.firstChild(); !child.isNull(); child = child.nextSibling())
        parts.append(textOf(child, withPlaces));
    return "<" + parts.join('|') + ">";
}

/// XML read in two ways, by the stream and by the DOM.
class tst_cXmlReader : public QObject
{
    Q_OBJECT

private slots:
    void plainWayAgreesWithDom()
    {
        QRandomGenerator random(20110213);
        const int count = 100000;
        int plain = 0;
        for (int i = 0; i < count; ++i) {
            const QByteArray xml = randomDocument(random);
            cXmlTree tree;
            if (!cXmlReader::readPlain(xml, tree))
                continue;
            ++plain;
            cXmlTree domTree;
            QVERIFY2(cXmlReader::readByDom(xml, domTree, nullptr), xml.constData());
            QCOMPARE(xml + textOf(tree.root(), true).toUtf8(), xml + textOf(domTree.root(), true).toUtf8());
            cContentTree content;
            QVERIFY2(cXmlReader::readPlain(xml, content), xml.constData());
            QCOMPARE(xml + textOf(content.root(), false).toUtf8(), xml + textOf(domTree.root(), false).toUtf8());
        }
        QVERIFY2(plain > count / 2, QByteArray::number(plain));
        QVERIFY2(plain < count * 9 / 10, QByteArray::number(plain));
    }
};

QTEST_APPLESS_MAIN(tst_cXmlReader)
#include "tst_cXmlReader.moc"
