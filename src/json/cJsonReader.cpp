#include <Norvale/cJsonReader.h>

#include <Norvale/cJsonValue.h>

#include "json/PlainJsonReader.h"

#include <QtCore/QIODevice>

cJsonReader::cJsonReader(const char* text) : m_input(text) {}

cJsonReader::cJsonReader(const QString& text) : m_input(text.toLatin1()) {}

cJsonReader::cJsonReader(const QByteArray& text) : m_input(text) {}

cJsonReader::cJsonReader(QIODevice* device) : m_input(device->readAll()) {}

cJsonReader::cJsonReader(const cJsonReader& other) = default;

cJsonReader::~cJsonReader() = default;

cJsonReader& cJsonReader::operator=(const cJsonReader& other) = default;

cJsonValue cJsonReader::parse(bool* ok)
{
    bool isRead = false;
    cJsonValue document = PlainJsonReader(m_input).parse(&isRead);
    if (ok)
        *ok = isRead;
    return document;
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
