#include <Norvale/cJsonWriter.h>

#include <Norvale/cJsonValue.h>

#include "json/cJsonByteWriter.h"

#include <QtCore/QTextStream>

QByteArray cJsonWriter::serialize(const cJsonValue& v)
{
    cJsonByteWriter writer;
    if (writer.write(v))
        return writer.takeText();
    QByteArray text;
    QTextStream stream(&text, QIODevice::ReadWrite);
    v.serialize(stream);
    stream.flush();
    return text;
}
