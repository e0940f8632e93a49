#include "guard/CrashCatching.h"
#include "guard/CrashHandler.h"

#include <qt_windows.h>

#include <atomic>
#include <csignal>
#include <cstdlib>

namespace {

constexpr DWORD TimeLimit = 10000;       // milliseconds
constexpr ULONG StackForHandler = 65536; // bytes that a stack that has overflown keeps for the handler
constexpr DWORD64 LeastCode = 65536;     // below lies what a call through a null pointer leads to
constexpr UINT AbortCode = 3;            // with which the runtime's abort() ends the process

LPTOP_LEVEL_EXCEPTION_FILTER s_filterBefore = nullptr;
void (*s_abortBefore)(int) = SIG_DFL;
HANDLE s_mainThread = nullptr;
DWORD s_mainThreadId = 0;
HANDLE s_begun = nullptr;
HANDLE s_told = nullptr;
DWORD s_watcherId = 0;
std::atomic<bool> s_isWatched{false};

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

PRUNTIME_FUNCTION functionAround(DWORD64 place, DWORD64* image)
{
    return RtlLookupFunctionEntry(place, image, nullptr);
}

/// Goes back from where the system knows no function: it calls nothing, such as what makes room on the stack, or is no
/// code at all. It may have saved a few registers.
void returnFromLeaf(CONTEXT& context)
{
    constexpr int MostSaved = 4;
    const auto* const stack = reinterpret_cast<const DWORD64*>(context.Rsp);
    DWORD64 image = 0;
    int saved = 0;
    while (saved < MostSaved && !functionAround(stack[saved] - 1, &image))
        ++saved;
    if (saved == MostSaved)
        saved = 0;
    context.Rip = stack[saved];
    context.Rsp += DWORD64(saved + 1) * sizeof(DWORD64);
}

/// Goes to the caller of the function that @p context is in. @return false when there is none.
bool unwind(CONTEXT& context, bool isInnermost)
{
    const DWORD64 place = context.Rip - (isInnermost ? 0 : 1); // behind the call may be another function
    DWORD64 image = 0;
    if (const PRUNTIME_FUNCTION function = functionAround(place, &image)) {
        void* data = nullptr;
        DWORD64 frame = 0;
        RtlVirtualUnwind(UNW_FLAG_NHANDLER, image, place, function, &context, &data, &frame, nullptr);
    } else if (isInnermost) {
        returnFromLeaf(context);
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

void tell(const EXCEPTION_POINTERS& exception, cCrash& crash)
{
    const EXCEPTION_RECORD& record = *exception.ExceptionRecord;
    const bool isAccess = record.ExceptionCode == DWORD(EXCEPTION_ACCESS_VIOLATION) ||
                          record.ExceptionCode == DWORD(EXCEPTION_IN_PAGE_ERROR);
    crash.cause = qint32(record.ExceptionCode);
    crash.hasAddress = isAccess && record.NumberParameters >= 2;
    crash.address = crash.hasAddress ? addressOf(record.ExceptionInformation[1]) : nullptr;
    crash.thread = GetCurrentThreadId();
    crash.isOfMainThread = crash.thread == s_mainThreadId;
    crash.context = exception.ContextRecord;
    CrashCatching::tell(crash, walk);
}

Q_NEVER_INLINE void tellWithRoom(const EXCEPTION_POINTERS& exception)
{
    cCrash crash;
    tell(exception, crash);
}

LONG WINAPI onException(EXCEPTION_POINTERS* exception)
{
    static cCrash ofOverflow; // whose stack has hardly room for a call
    const DWORD code = exception->ExceptionRecord->ExceptionCode;
    if (GetCurrentThreadId() == s_watcherId)
        CrashCatching::write();
    else if (code == DWORD(EXCEPTION_STACK_OVERFLOW))
        tell(*exception, ofOverflow);
    else if (!isThrown(code))
        tellWithRoom(*exception);
    return s_filterBefore ? s_filterBefore(exception) : EXCEPTION_CONTINUE_SEARCH;
}

void onAbort(int)
{
    CrashCatching::tell(CrashCatching::here(), [](cCrash&) {});
    std::signal(SIGABRT, s_abortBefore);
    std::raise(SIGABRT);
}

/// Whether the thread that watches does the telling: that which has crashed has no room left on its stack.
bool isHandedOver()
{
    return DWORD(cCrashReport::instance().cause()) == DWORD(EXCEPTION_STACK_OVERFLOW);
}

/// Ends a process that has crashed and does not come to an end. The thread is there beforehand: what has crashed may
/// hold the lock that a new one needs.
DWORD WINAPI watch(void*)
{
    s_watcherId = GetCurrentThreadId();
    WaitForSingleObject(s_begun, INFINITE);
    if (!s_isWatched)
        return 0;
    if (isHandedOver()) {
        cCrashReport::instance().write();
        SetEvent(s_told);
    } else if (WaitForSingleObject(s_told, TimeLimit) == WAIT_TIMEOUT) {
        const DWORD cause = DWORD(cCrashReport::instance().cause());
        TerminateProcess(GetCurrentProcess(), cause == SIGABRT ? AbortCode : cause);
    }
    return 0;
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

void CrashCatching::write()
{
    if (GetCurrentThreadId() == s_watcherId) { // that has crashed in the midst
        cCrashReport::instance().write();
        SetEvent(s_told);
        waitForEnd();
    }
    SetEvent(s_begun);
    if (isHandedOver()) {
        WaitForSingleObject(s_told, TimeLimit);
        return;
    }
    cCrashReport::instance().write();
    SetEvent(s_told);
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
