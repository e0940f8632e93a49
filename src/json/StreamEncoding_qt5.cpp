#include "json/StreamEncoding.h"

#include <QtCore/QTextCodec>

namespace {

// Each character of UTF-8 and of Latin-1, here by their assigned numbers, is encoded by itself; of other encodings that
// is not known.
constexpr int MibLatin1 = 4;
constexpr int MibUtf8 = 106;

bool isKnown(const QTextCodec* codec)
{
    return codec->mibEnum() == MibUtf8 || codec->mibEnum() == MibLatin1;
}

QByteArray encoded(const QTextCodec* codec, const QString& text)
{
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    return codec->fromUnicode(text.constData(), text.size(), &state);
}

} // namespace

bool StreamEncoding::keepsAscii()
{
    const QTextCodec* const codec = QTextCodec::codecForLocale();
    if (isKnown(codec))
        return true;
    QByteArray ascii;
    for (int unit = 0; unit < 128; ++unit)
        ascii += char(unit);
    return encoded(codec, QString::fromLatin1(ascii)) == ascii;
}

bool StreamEncoding::encode(const QString& text, QByteArray& bytes)
{
    const QTextCodec* const codec = QTextCodec::codecForLocale();
    if (!isKnown(codec))
        return false;
    bytes = encoded(codec, text);
    return true;
}
