// The reader is held against a plain transcription of its rules, the writer against a stream, and what is written
// against what is read back. Comparing, printing, converting and destroying come along.

#include "PlainJsonReader.h"

#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cJsonWriter.h>

#include <QtCore/QIODevice>
#include <QtCore/QTextStream>
#include <QtCore/QVariant>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool isTrue, const char* claim, const QByteArray& text)
{
    if (isTrue)
        return;
    std::fprintf(stderr, "not true: %s\n%s\n", claim, text.constData());
    std::abort();
}

/// The plain reader and the checks below use the call stack; the library does not.
bool isShallow(const QByteArray& text)
{
    return text.count('[') + text.count('{') <= 1000;
}

/// Keys are written unescaped and in the encoding of the locale, so only these come back as they were.
bool hasPlainKeys(const cJsonValue& value)
{
    for (int i = 0; value.isArray() && i < int(value.size()); ++i) {
        if (!hasPlainKeys(value[i]))
            return false;
    }
    for (const QString& key : value.keys()) {
        for (const QChar c : key) {
            if (c.unicode() > 127 || c == QLatin1Char('"') || c == QLatin1Char('\\'))
                return false;
        }
        if (!hasPlainKeys(value[key]))
            return false;
    }
    return true;
}

QByteArray streamed(const cJsonValue& value)
{
    QByteArray text;
    QTextStream stream(&text, QIODevice::ReadWrite);
    value.serialize(stream);
    stream.flush();
    return text;
}

void checkReadBack(const cJsonValue& document, const QByteArray& text)
{
    const QByteArray written = cJsonWriter::serialize(document);
    cJsonValue back;
    require(cJsonReader::parse(written, back), "what was written can be read", text);
    require(cJsonWriter::serialize(back) == written, "what was read back is written the same", text);
    cJsonValue pretty;
    require(cJsonReader::parse(document.prettyPrint(2), pretty), "what was printed can be read", text);
    require(pretty == back, "both forms read the same", text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), int(size));
    cJsonReader reader(text);
    bool ok = false;
    cJsonValue document = reader.parse(&ok);
    const cJsonValue again = reader.parse();
    require(document == again && document.equivalentTo(again), "two readings are equal", text);
    require(document.containedIn(again) == document.isObject(), "an object is contained in itself", text);
    // Long texts are read with what has been read before in mind.
    bool isLongOk = false;
    require(cJsonReader(QByteArray(5000, ' ') + text).parse(&isLongOk) == document && isLongOk == ok,
            "length does not matter", text);
    const QByteArray written = cJsonWriter::serialize(document);
    require(streamed(document) == written, "writer and stream give the same bytes", text);
    document.prettyPrint(0);
    cJsonValue copy(document.toVariant());
    if (!isShallow(text))
        return 0;

    bool isPlainOk = false;
    const cJsonValue plain = PlainJsonReader(text).parse(&isPlainOk);
    require(ok == isPlainOk, "the plain reader has the same success", text);
    require(document == plain && plain == document, "the plain reader has the same result", text);
    if (hasPlainKeys(document))
        checkReadBack(document, text);
    return 0;
}
