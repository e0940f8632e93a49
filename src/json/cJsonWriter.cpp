#include <Norvale/cJsonWriter.h>

#include <Norvale/cJsonValue.h>

#include <QtCore/QTextStream>

QByteArray cJsonWriter::serialize(const cJsonValue& v)
{
    QByteArray text;
    QTextStream stream(&text, QIODevice::ReadWrite);
    v.serialize(stream);
    stream.flush();
    return text;
}
