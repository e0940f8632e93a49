#include "Encodings.h"

QByteArrayList Encodings::defaults()
{
    return {"UTF-8"};
}

void Encodings::setDefault(const QByteArray&) {}

QTextStream& Encodings::latin1(QTextStream& stream)
{
    stream.setEncoding(QStringConverter::Latin1);
    return stream;
}
