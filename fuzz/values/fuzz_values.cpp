// Feeds bytes to the reader of the values that travel between a suite and a plugin's process. What it takes is written,
// read and written again: both texts are the same.

#include "isolation/Frames.h"

#include <cstdint>

namespace {

/// The bytes of @p value in a frame; empty when it cannot travel.
QByteArray written(const QVariant& value)
{
    cFrameWriter writer(FrameKind::Answer);
    return writer.value(value) ? writer.finish(0, 0) : QByteArray();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray content(reinterpret_cast<const char*>(data), int(size));
    cFrameReader reader(QByteArray(FrameHeader, '\0') + content);
    const QVariant value = reader.value();
    const QByteArray first = reader.isSound() ? written(value) : QByteArray();
    if (first.isEmpty())
        return 0;
    cFrameReader again(first);
    if (written(again.value()) != first || !again.isSound())
        qFatal("a value of the type %s does not come back", value.typeName());
    return 0;
}
