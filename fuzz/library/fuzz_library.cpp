// Reads the bytes as a shared library, as the start does before it loads one.

#include "plugins/cLibraryFile.h"

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool isTrue)
{
    if (!isTrue)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    const cLibraryFile library = cLibraryFile::ofBytes(bytes, QStringLiteral("it.so"));
    const int major = library.qtMajor();
    require(major == 0 || (major >= 5 && major <= 9));
    require(major == 0 || library.fault().isEmpty());
    require(library.refusal().isEmpty() == (major == 0 || major == QT_VERSION_MAJOR));
    return 0;
}
