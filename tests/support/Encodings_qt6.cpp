#include "Encodings.h"

QByteArrayList Encodings::defaults()
{
    return {"UTF-8"};
}

void Encodings::setDefault(const QByteArray&) {}

void Encodings::setLatin1(QTextStream& stream)
{
    stream.setEncoding(QStringConverter::Latin1);
}
