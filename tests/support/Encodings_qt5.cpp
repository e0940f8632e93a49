#include "Encodings.h"

#include <QtCore/QTextCodec>

QByteArrayList Encodings::defaults()
{
    return {"UTF-8", "ISO-8859-1", "ISO-8859-15", "UTF-16", "Shift_JIS"};
}

void Encodings::setDefault(const QByteArray& name)
{
    QTextCodec::setCodecForLocale(name.isEmpty() ? nullptr : QTextCodec::codecForName(name));
}

QTextStream& Encodings::latin1(QTextStream& stream)
{
    stream.setCodec("ISO-8859-1");
    return stream;
}
