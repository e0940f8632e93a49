#include "json/StreamEncoding.h"

bool StreamEncoding::keepsAscii()
{
    return true;
}

bool StreamEncoding::encode(const QString& text, QByteArray& bytes)
{
    bytes = text.toUtf8();
    return true;
}
