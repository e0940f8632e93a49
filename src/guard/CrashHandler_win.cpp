#include "guard/CrashCatching.h"
#include "guard/CrashHandler.h"

#include <QtCore/QDir>

#include <qt_windows.h>

#define PSAPI_VERSION 2 // which the system's own library has
#include <psapi.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cwchar>

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

constexpr DWORD TimeLimit = 10000;       // milliseconds
constexpr ULONG StackForHandler = 65536; // bytes that a stack that has overflown keeps for the handler
constexpr DWORD64 LeastCode = 65536;     // below lies what a call through a null pointer leads to
constexpr UINT AbortCode = 3;            // with which the runtime's abort() ends the process
constexpr int LongestPath = 2048;        // UTF-16 units of a library's path; what is longer has no line

LPTOP_LEVEL_EXCEPTION_FILTER s_filterBefore = nullptr;
void (*s_abortBefore)(int) = SIG_DFL;
HANDLE s_mainThread = nullptr;
DWORD s_mainThreadId = 0;
HANDLE s_begun = nullptr;
HANDLE s_told = nullptr;
std::atomic<bool> s_isWatched{false};
wchar_t s_folder[MAX_PATH + LongestPath];
HANDLE s_file = INVALID_HANDLE_VALUE;

const char* addressOf(DWORD64 place)
{
    return reinterpret_cast<const char*>(place);
}

/// The runtime of the compiler raises what is thrown as an exception of the system; one that nobody catches comes to
/// std::terminate().
bool isThrown(DWORD code)
{
    constexpr DWORD OfGcc = 0x20474343, OfMsvc = 0xe06d7363;
    return (code & 0x20ffffff) == OfGcc || code == OfMsvc;
}

/// Goes to the caller of the function that @p context is in. @return false when there is none.
bool unwind(CONTEXT& context, bool isInnermost)
{
    const DWORD64 place = context.Rip - (isInnermost ? 0 : 1); // behind the call may be another function
    DWORD64 image = 0;
    if (PRUNTIME_FUNCTION const function = RtlLookupFunctionEntry(place, &image, nullptr)) {
        void* data = nullptr;
        DWORD64 frame = 0;
        RtlVirtualUnwind(UNW_FLAG_NHANDLER, image, place, function, &context, &data, &frame, nullptr);
    } else if (isInnermost) { // calls nothing, or is no code at all
        context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
        context.Rsp += sizeof(DWORD64);
    } else {
        return false;
    }
    return context.Rip >= LeastCode;
}

void walkFrom(CONTEXT context, cCrash& crash)
{
    bool isInnermost = true;
    if (context.Rip >= LeastCode)
        crash.frames[crash.frameCount++] = addressOf(context.Rip);
    while (crash.frameCount < cCrash::MostFrames && unwind(context, isInnermost)) {
        isInnermost = false;
        crash.frames[crash.frameCount++] = addressOf(context.Rip - 1);
    }
}

void walk(cCrash& crash)
{
    walkFrom(*static_cast<const CONTEXT*>(crash.context), crash);
}

LONG WINAPI onException(EXCEPTION_POINTERS* exception)
{
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (!isThrown(record.ExceptionCode)) {
        cCrash crash;
        crash.cause = qint32(record.ExceptionCode);
        crash.hasAddress = record.NumberParameters >= 2 && (record.ExceptionCode == DWORD(EXCEPTION_ACCESS_VIOLATION) ||
                                                            record.ExceptionCode == DWORD(EXCEPTION_IN_PAGE_ERROR));
        crash.address = crash.hasAddress ? addressOf(record.ExceptionInformation[1]) : nullptr;
        crash.thread = GetCurrentThreadId();
        crash.isOfMainThread = crash.thread == s_mainThreadId;
        crash.context = exception->ContextRecord;
        CrashCatching::tell(crash, walk);
    }
    return s_filterBefore ? s_filterBefore(exception) : EXCEPTION_CONTINUE_SEARCH;
}

void onAbort(int)
{
    CrashCatching::tell(CrashCatching::here(), [](cCrash&) {});
    std::signal(SIGABRT, s_abortBefore);
    std::raise(SIGABRT);
}

/// Ends a process that has crashed and does not come to an end. The thread is there beforehand: what has crashed may
/// hold the lock that a new one needs.
DWORD WINAPI watch(void*)
{
    WaitForSingleObject(s_begun, INFINITE);
    if (s_isWatched && WaitForSingleObject(s_told, TimeLimit) == WAIT_TIMEOUT) {
        const DWORD cause = DWORD(cCrashReport::instance().cause());
        TerminateProcess(GetCurrentProcess(), cause == SIGABRT ? AbortCode : cause);
    }
    return 0;
}

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

cCrash CrashCatching::here()
{
    cCrash crash;
    crash.cause = SIGABRT;
    crash.thread = GetCurrentThreadId();
    crash.isOfMainThread = crash.thread == s_mainThreadId;
    CONTEXT context;
    RtlCaptureContext(&context);
    walkFrom(context, crash);
    return crash;
}

void CrashCatching::catchAll()
{
    s_mainThreadId = GetCurrentThreadId();
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &s_mainThread, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    ULONG stack = StackForHandler;
    SetThreadStackGuarantee(&stack);
    s_begun = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    s_told = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    s_isWatched = true;
    if (const HANDLE thread = CreateThread(nullptr, StackForHandler, watch, nullptr, 0, nullptr))
        CloseHandle(thread);
    s_filterBefore = SetUnhandledExceptionFilter(onException);
    s_abortBefore = std::signal(SIGABRT, onAbort);
    if (s_abortBefore == SIG_ERR)
        s_abortBefore = SIG_DFL;
}

void CrashCatching::catchNothing()
{
    const LPTOP_LEVEL_EXCEPTION_FILTER filter = SetUnhandledExceptionFilter(s_filterBefore);
    if (filter != onException)
        SetUnhandledExceptionFilter(filter);
    void (*const abort)(int) = std::signal(SIGABRT, s_abortBefore);
    if (abort != onAbort)
        std::signal(SIGABRT, abort);
    s_isWatched = false;
    SetEvent(s_begun); // the thread ends; the events stay for it
}

void CrashCatching::limitTime(bool isLimited)
{
    SetEvent(isLimited ? s_begun : s_told);
}

void CrashCatching::waitForEnd()
{
    while (true)
        Sleep(INFINITE);
}

void CrashHandler::abortMainThread()
{
    alignas(16) CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    if (s_mainThread && SuspendThread(s_mainThread) != DWORD(-1) && GetThreadContext(s_mainThread, &context)) {
        cCrash crash;
        crash.cause = SIGABRT;
        crash.thread = s_mainThreadId;
        crash.context = &context;
        CrashCatching::tell(crash, walk);
    }
    TerminateProcess(GetCurrentProcess(), AbortCode);
    CrashCatching::waitForEnd();
}

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

quint64 CrashSystem::processId()
{
    return GetCurrentProcessId();
}
