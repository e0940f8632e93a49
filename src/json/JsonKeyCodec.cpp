#include "json/JsonKeyCodec.h"

#include <QtCore/QTextCodec>

namespace {

// Assigned numbers of encodings in which each character is encoded by itself.
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

/// Whether each surrogate has its other half; what becomes of one that has none depends on what is written next.
bool isWellFormed(const QString& text)
{
    for (int i = 0; i < text.size(); ++i) {
        if (!text.at(i).isSurrogate())
            continue;
        if (!text.at(i).isHighSurrogate() || i + 1 == text.size() || !text.at(i + 1).isLowSurrogate())
            return false;
        ++i;
    }
    return true;
}

} // namespace

bool JsonKeyCodec::keepsAscii()
{
    const QTextCodec* const codec = QTextCodec::codecForLocale();
    if (isKnown(codec))
        return true;
    QByteArray ascii;
    for (int unit = 0; unit < 128; ++unit)
        ascii += char(unit);
    return encoded(codec, QString::fromLatin1(ascii)) == ascii;
}

bool JsonKeyCodec::encode(const QString& key, QByteArray& bytes)
{
    const QTextCodec* const codec = QTextCodec::codecForLocale();
    if (!isKnown(codec) || !isWellFormed(key))
        return false;
    bytes = encoded(codec, key);
    return true;
}
