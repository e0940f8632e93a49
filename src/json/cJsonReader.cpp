#include <Norvale/cJsonReader.h>

#include <Norvale/cJsonValue.h>

#include "json/cJsonParser.h"

#include <QtCore/QIODevice>

#include <new>

cJsonReader::cJsonReader(const char* text) : m_input(text) {}

cJsonReader::cJsonReader(const QString& text) : m_input(text.toLatin1()) {}

cJsonReader::cJsonReader(const QByteArray& text) : m_input(text) {}

cJsonReader::cJsonReader(QIODevice* device) : m_input(device ? device->readAll() : QByteArray()) {}

cJsonReader::cJsonReader(const cJsonReader& other) = default;

cJsonReader::~cJsonReader() = default;

cJsonReader& cJsonReader::operator=(const cJsonReader& other) = default;

// A text of many millions of elements may need more than a container can hold; that is a failure like any other.
cJsonValue cJsonReader::parse(bool* ok)
{
    bool isRead = false;
    cJsonValue document;
    m_errorPosition = 0;
    try {
        cJsonParser parser(m_input.constData(), m_input.constData() + m_input.size());
        isRead = parser.read(document);
        m_errorPosition = isRead ? -1 : parser.failedAt();
    } catch (const std::bad_alloc&) {
        document = cJsonValue();
    }
    if (ok)
        *ok = isRead;
    return document;
}

int cJsonReader::errorPosition() const
{
    return m_errorPosition;
}

bool cJsonReader::parse(const char* text, cJsonValue& out)
{
    return parse(cJsonReader(text), out);
}

bool cJsonReader::parse(const QString& text, cJsonValue& out)
{
    return parse(cJsonReader(text), out);
}

bool cJsonReader::parse(const QByteArray& text, cJsonValue& out)
{
    return parse(cJsonReader(text), out);
}

bool cJsonReader::parse(QIODevice* device, cJsonValue& out)
{
    return parse(cJsonReader(device), out);
}

bool cJsonReader::parse(const cJsonReader& reader, cJsonValue& out)
{
    bool isRead = false;
    out = cJsonReader(reader).parse(&isRead);
    return isRead;
}
