#include "version/cCodeImage.h"

#include <QtCore/QDir>

#include <qt_windows.h>

#include <vector>

namespace {

/// The size of an image from the headers that the system has mapped with it.
quint32 sizeOf(const char* image)
{
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
    return headers->OptionalHeader.SizeOfImage;
}

QString pathOf(HMODULE module)
{
    constexpr DWORD LongestPath = 32768; // UTF-16 units
    std::vector<wchar_t> path(LongestPath);
    const DWORD length = GetModuleFileNameW(module, path.data(), LongestPath);
    return QDir::fromNativeSeparators(QString::fromWCharArray(path.data(), int(length)));
}

} // namespace

cCodeImage cCodeImage::around(const void* address)
{
    HMODULE module = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(flags, static_cast<LPCWSTR>(address), &module))
        return cCodeImage();
    const char* const begin = reinterpret_cast<const char*>(module);
    return {begin, begin + sizeOf(begin), pathOf(module).toUtf8()};
}

QString cCodeImage::path() const
{
    return QString::fromUtf8(m_file);
}
