#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QXmlStreamReader>

/// @p count features of three plugins each, as a repository description has them. Each needs the one of half its
/// number.
inline QByteArray sampleRepository(int count)
{
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<repository name=\"main\" version=\"3.12.004\">\n";
    for (int i = 0; i < count; ++i) {
        const QByteArray number = QByteArray::number(i);
        xml += "  <feature name=\"Feature" + number + "\" version=\"1.2." + QByteArray::number(i % 900) +
               "\" active=\"true\">\n    <displayname lang=\"en-us\">Feature number " + number +
               "</displayname>\n    <displayname lang=\"de\">Merkmal Nummer " + number +
               "</displayname>\n    <dependencies><feature name=\"Feature" + QByteArray::number(i / 2) +
               "\"/></dependencies>\n    <plugins>\n";
        for (const char* suffix : {"Core", "View", "Tools"}) {
            xml += "      <plugin name=\"Plugin" + number + suffix +
                   "\" version=\"1.2.3\" size=\"123456\"><source>Plugin" + number + suffix + "-1.02.003.zip</source>" +
                   "<hash method=\"sha1\">da39a3ee5e6b4b0d3255bfef95601890afd80709</hash></plugin>\n";
        }
        xml += "    </plugins>\n  </feature>\n";
    }
    return xml + "</repository>\n";
}

/// The plain way over a document, which what is made of it is held against: all of it as a stream, with the attributes
/// of each element. @return how many letters its attributes and texts have; 0 when it is not well-formed.
inline qint64 parsePlainly(const QByteArray& xml)
{
    qint64 letters = 0;
    QXmlStreamReader stream(xml);
    while (!stream.atEnd()) {
        const QXmlStreamReader::TokenType token = stream.readNext();
        if (token == QXmlStreamReader::StartElement) {
            const QXmlStreamAttributes attributes = stream.attributes();
            for (const QXmlStreamAttribute& attribute : attributes)
                letters += attribute.value().size();
        } else if (token == QXmlStreamReader::Characters) {
            letters += stream.text().size();
        }
    }
    return stream.hasError() ? 0 : letters;
}
