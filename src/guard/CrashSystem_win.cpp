#include "guard/CrashSystem.h"

#include <QtCore/QDir>

#include <qt_windows.h>

#define PSAPI_VERSION 2 // which the system's own library has
#include <psapi.h>

#include <csignal>

namespace {

struct cCause
{
    DWORD code;
    const char* name;
};

constexpr cCause Causes[] = {
    {SIGABRT, "SIGABRT"},
    {EXCEPTION_ACCESS_VIOLATION, "EXCEPTION_ACCESS_VIOLATION"},
    {EXCEPTION_IN_PAGE_ERROR, "EXCEPTION_IN_PAGE_ERROR"},
    {EXCEPTION_STACK_OVERFLOW, "EXCEPTION_STACK_OVERFLOW"},
    {EXCEPTION_INT_DIVIDE_BY_ZERO, "EXCEPTION_INT_DIVIDE_BY_ZERO"},
    {EXCEPTION_INT_OVERFLOW, "EXCEPTION_INT_OVERFLOW"},
    {EXCEPTION_FLT_DIVIDE_BY_ZERO, "EXCEPTION_FLT_DIVIDE_BY_ZERO"},
    {EXCEPTION_FLT_INVALID_OPERATION, "EXCEPTION_FLT_INVALID_OPERATION"},
    {EXCEPTION_ILLEGAL_INSTRUCTION, "EXCEPTION_ILLEGAL_INSTRUCTION"},
    {EXCEPTION_PRIV_INSTRUCTION, "EXCEPTION_PRIV_INSTRUCTION"},
    {EXCEPTION_DATATYPE_MISALIGNMENT, "EXCEPTION_DATATYPE_MISALIGNMENT"},
    {EXCEPTION_ARRAY_BOUNDS_EXCEEDED, "EXCEPTION_ARRAY_BOUNDS_EXCEEDED"},
    {EXCEPTION_NONCONTINUABLE_EXCEPTION, "EXCEPTION_NONCONTINUABLE_EXCEPTION"},
    {EXCEPTION_BREAKPOINT, "EXCEPTION_BREAKPOINT"},
};

constexpr int LongestPath = 2048; // UTF-16 units of a library's path; what is longer has no line

wchar_t s_folder[MAX_PATH + LongestPath];
HANDLE s_file = INVALID_HANDLE_VALUE;

const IMAGE_NT_HEADERS& headersOf(const char* image)
{
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    return *reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
}

/// The path of a library in UTF-8, in fixed memory; null when it cannot be had.
const char* pathOf(HMODULE image)
{
    static wchar_t path[LongestPath];
    static char text[3 * LongestPath];
    const DWORD length = GetModuleFileNameW(image, path, LongestPath);
    if (length == 0 || length >= LongestPath)
        return nullptr;
    const int size = WideCharToMultiByte(CP_UTF8, 0, path, int(length), text, sizeof text - 1, nullptr, nullptr);
    text[size] = '\0';
    return text;
}

/// The exported name of the function that @p offset in a library lies in, and where it begins; null when it has none.
const char* functionAt(const char* image, DWORD offset, DWORD* begin)
{
    const IMAGE_DATA_DIRECTORY& place = headersOf(image).OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    DWORD64 base = 0;
    const PRUNTIME_FUNCTION function = RtlLookupFunctionEntry(DWORD64(image) + offset, &base, nullptr);
    if (place.Size == 0 || !function)
        return nullptr;
    const auto& exports = *reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(image + place.VirtualAddress);
    const auto* const functions = reinterpret_cast<const DWORD*>(image + exports.AddressOfFunctions);
    const auto* const names = reinterpret_cast<const DWORD*>(image + exports.AddressOfNames);
    const auto* const ordinals = reinterpret_cast<const WORD*>(image + exports.AddressOfNameOrdinals);
    for (DWORD i = 0; i < exports.NumberOfNames; ++i) {
        *begin = functions[ordinals[i]];
        if (function->BeginAddress <= *begin && *begin <= offset)
            return image + names[i];
    }
    return nullptr;
}

} // namespace

void CrashSystem::setFolder(const QString& folder)
{
    const QString path = QDir::toNativeSeparators(folder) + QLatin1Char('\\');
    if (path.size() < LongestPath)
        s_folder[path.toWCharArray(s_folder)] = L'\0';
}

bool CrashSystem::open(const char* name)
{
    wchar_t path[sizeof s_folder / sizeof s_folder[0]];
    wchar_t* to = path;
    for (const wchar_t* from = s_folder; *from; ++from)
        *to++ = *from;
    const wchar_t* const last = path + sizeof path / sizeof path[0] - 1;
    for (; *name && to < last; ++name)
        *to++ = wchar_t(*name);
    *to = L'\0';
    s_file = CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    return s_file != INVALID_HANDLE_VALUE;
}

void CrashSystem::write(const char* bytes, int length)
{
    DWORD written = 0;
    if (s_file != INVALID_HANDLE_VALUE)
        WriteFile(s_file, bytes, DWORD(length), &written, nullptr);
}

void CrashSystem::close()
{
    CloseHandle(s_file);
    s_file = INVALID_HANDLE_VALUE;
}

void CrashSystem::writeStack(const cCrash& crash)
{
    for (int i = 0; i < crash.frameCount; ++i) {
        cCrashText out;
        const auto* const frame = static_cast<const char*>(crash.frames[i]);
        HMODULE image = nullptr;
        const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
        if (GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(frame), &image)) {
            const auto* const base = reinterpret_cast<const char*>(image);
            const char* const path = pathOf(image);
            DWORD begin = 0;
            const auto offset = DWORD(frame - base);
            const char* const function = functionAt(base, offset, &begin);
            out.text(path ? path : "?").text("(").text(function ? function : "");
            out.text("+0x").number(function ? offset - begin : offset, 1, 16).text(")");
        }
        out.text("[").address(quintptr(frame)).text("]\n");
    }
}

void CrashSystem::writeLibraries()
{
    static HMODULE images[1024];
    DWORD size = 0;
    if (!EnumProcessModules(GetCurrentProcess(), images, sizeof images, &size))
        return;
    const DWORD count = qMin<DWORD>(size, sizeof images) / sizeof images[0];
    for (DWORD i = 0; i < count; ++i) {
        const auto* const image = reinterpret_cast<const char*>(images[i]);
        const char* const path = pathOf(images[i]);
        const quintptr begin = quintptr(image);
        cCrashText out;
        out.address(begin).text("-").address(begin + headersOf(image).OptionalHeader.SizeOfImage);
        out.text(" ").text(path ? path : "?").text("\n");
    }
}

const char* CrashSystem::nameOf(qint32 cause)
{
    for (const cCause& known : Causes) {
        if (known.code == DWORD(cause))
            return known.name;
    }
    return nullptr;
}

qint64 CrashSystem::now()
{
    constexpr qint64 From1601To1970 = 11644473600000; // milliseconds
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    return (qint64(time.dwHighDateTime) << 32 | time.dwLowDateTime) / 10000 - From1601To1970;
}

qint64 CrashSystem::uptime()
{
    return qint64(GetTickCount64());
}

quint64 CrashSystem::processId()
{
    return GetCurrentProcessId();
}
