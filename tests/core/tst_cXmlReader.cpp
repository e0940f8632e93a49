#include "core/cXmlBounds.h"
#include "core/cXmlGuard.h"
#include "core/cXmlReader.h"
#include "core/cXmlTree.h"

#include <NotHere.h>
#include <Rows.h>

#include <QtXml/QDomDocument>

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

/// A document with a document type of its own, and references to it of every kind.
static QByteArray declaringDocument(QRandomGenerator& random)
{
    const QByteArrayList texts =
        QByteArray(
            "x~&a;~&b;&c;~%p;~&#60;i/>~<i k='&a;'/>~&#38;b;~&#38;#38;~&amp;~<i>~</i>~<!-- ~]]>~\"~&x;~%~&~;~\xc3\xa4")
            .split('~');
    const auto text = [&](int most) {
        QByteArray made;
        for (int parts = random.bounded(most + 1); parts > 0; --parts)
            made += texts.at(random.bounded(texts.size()));
        return made;
    };
    const QByteArrayList declarations =
        QByteArray(
            "<!ENTITY a 'T'>~<!ENTITY b 'T'>~<!ENTITY  c\n\"T\" >~<!ENTITY % p 'T'>~<!ENTITY % q '<!ENTITY a \"T\">'>~"
            "%q;~%p;~<!ENTITY amp 'T'>~<!ENTITY a SYSTEM 'x'>~<!ATTLIST m k CDATA 'T'>~<!ELEMENT m (#PCDATA|i)*>~"
            "<!-- <!ENTITY a 'x'> -->~<?x T?>~<!NOTATION n PUBLIC 'T'>~ ")
            .split('~');
    QByteArray xml = "<!DOCTYPE m [";
    for (int i = random.bounded(6); i > 0; --i)
        xml += QByteArray(declarations.at(random.bounded(declarations.size()))).replace("T", text(3));
    xml += "]><m k='" + text(2).replace('<', "") + "'>" + text(3) + "<![CDATA[&a;<!ENTITY]]>" + text(2) + "</m>";
    return xml;
}

/// XML read in two ways, by the stream and by the DOM.
class tst_cXmlReader : public QObject
{
    Q_OBJECT

private slots:
    void plainWayAgreesWithDom()
    {
        QRandomGenerator random(20110213);
        const int count = 100000 / EachCase;
        int plain = 0;
        for (int i = 0; i < count; ++i) {
            const QByteArray xml = randomDocument(random);
            const int pieceSize = 1 + random.bounded(100);
            cXmlTree tree;
            if (!cXmlReader::readPlain(xml, tree, pieceSize))
                continue;
            ++plain;
            cXmlTree domTree;
            QVERIFY2(cXmlReader::readByDom(xml, domTree, nullptr), xml.constData());
            QCOMPARE(xml + textOf(tree.root(), true).toUtf8(), xml + textOf(domTree.root(), true).toUtf8());
            cContentTree content;
            QVERIFY2(cXmlReader::readPlain(xml, content, pieceSize), xml.constData());
            QCOMPARE(xml + textOf(content.root(), false).toUtf8(), xml + textOf(domTree.root(), false).toUtf8());
        }
        QVERIFY2(plain > count / 2, QByteArray::number(plain));
        QVERIFY2(plain < count * 9 / 10, QByteArray::number(plain));
    }
    void guardedIsAsDirect()
    {
        QRandomGenerator random(20110214);
        int accepted = 0;
        for (int i = 0; i < 20000 / EachCase; ++i) {
            const QByteArray xml = declaringDocument(random);
            QDomDocument guarded, direct;
            const bool isRead = direct.setContent(xml, i % 2 == 0);
            if (cXmlGuard::readDom(xml, guarded, nullptr, i % 2 == 0) != isRead ||
                guarded.toString() != direct.toString())
                QFAIL(xml.constData());
            accepted += isRead;
        }
        QVERIFY2(accepted > 800 / EachCase, QByteArray::number(accepted));
    }
    void refusesWhatIsTooMuch_data()
    {
        const auto repeated = [](const char* text, int count) { return QByteArray(text).repeated(count); };
        const auto nested = [&](int levels) { return repeated("<a>", levels) + repeated("</a>", levels); };
        const auto attributed = [](int count) {
            QByteArray xml = "<a>\n<b";
            for (int i = 0; i < count; ++i)
                xml += " a" + QByteArray::number(i) + "=''";
            return xml + "/></a>";
        };
        const auto entity = [](const QByteArray& text, const QByteArray& use) {
            return "<!DOCTYPE a [<!ENTITY e '" + text + "'>]><a x='" + use + "'>" + use + "</a>";
        };
        const Rows<QByteArray, QString> row("xml", "reason");
        row("as deep as it may be", nested(1000), "");
        row("too deep", "\n " + nested(1001), "line 2, column 3004: elements nested deeper than 1000 levels");
        const QString utf16 = QChar(QChar::ByteOrderMark) + QString::fromUtf8(nested(1001));
        row("too deep in UTF-16", QByteArray(reinterpret_cast<const char*>(utf16.utf16()), 2 * int(utf16.size())),
            "line 1, column 3003: elements nested deeper than 1000 levels");
        row("too deep by an entity",
            "<!DOCTYPE a [<!ENTITY e '" + nested(20) + "'>]>" + nested(985).insert(3 * 985, "&e;"), "line 1, column 3");
        row("as many attributes as may be", attributed(1000), "");
        row("too many attributes", attributed(1001), "line 2, column 7900: an element with more than 1000 attributes");
        row("large entity", entity(QByteArray(30000000, 'x'), repeated("&e;", 99)), "line 1, column ");
        row("references", entity("x", repeated("&e;", 50000)), "");
        row("predefined references, and what looks like declarations",
            "<a b='" + repeated("&amp;", 1000000) + "'>" + repeated("&lt;!ENTITY ", 100000) + "<!-- " +
                repeated("<!ENTITY ", 100000) + "--><![CDATA[" + repeated("<!ELEMENT &x;", 100000) + "]]></a>",
            "");
        row("entities of entities",
            "<!DOCTYPE a [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '" + repeated("&a;", 1000) + "'><!ENTITY c '" +
                repeated("&b;", 1000) + "'><!ENTITY d '" + repeated("&c;", 1000) + "'>]><a b='&d;'/>",
            "line 1, column 9090: the document's own entities make more than 16777216 characters");
        row("itself", entity("&e;", "&e;"), "line 1, column 41: the entity \"e\" contains itself");
        row("other declarations", "<!DOCTYPE a [" + repeated("<!ELEMENT a ANY>", 10000) + "]><a/>", "");
        row("entities", "<!DOCTYPE a [" + repeated("<!ENTITY a ''>", 4001) + "]><a/>",
            "line 1, column 56026: a document type with more than 4000 entities");
        const QByteArray large = "<!ENTITY a '" + QByteArray(1000000, 'x') + "'>";
        row("text of entities", "<!DOCTYPE a [" + large.repeated(70) + "]><a/>",
            "line 1, column 66000936: a document type with too many entities of too much text");
        row("content model", "<!DOCTYPE a [<!ELEMENT a " + repeated("(", 1000000) + ">]><a/>",
            "line 1, column 1026: a content model nested deeper than 1000 levels");
    }
    void refusesWhatIsTooMuch()
    {
        const auto [xml, reason] = cells<QByteArray, QString>("xml", "reason");
        QDomDocument document;
        QString told = "";
        QCOMPARE(cXmlGuard::readDom(xml, document, &told), reason.isEmpty());
        QVERIFY2(told.startsWith(reason), qPrintable(told));
        cXmlTree tree;
        told = "";
        QCOMPARE(cXmlReader::read(xml, tree, &told), reason.isEmpty());
        QVERIFY2(told.startsWith(reason), qPrintable(told));
    }
};

QTEST_APPLESS_MAIN(tst_cXmlReader)
#include "tst_cXmlReader.moc"
