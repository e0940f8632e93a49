#include "guard/CrashCatching.h"
#include "guard/CrashHandler.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <execinfo.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

constexpr int Signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS, SIGTRAP};
constexpr int SignalCount = int(sizeof Signals / sizeof Signals[0]);

constexpr quintptr LeastCode = 4096; // below lies what a call through a null pointer leads to
constexpr unsigned TimeLimit = 10;   // seconds

struct sigaction s_before[SignalCount]; // what stood there before
bool s_isOurs[SignalCount];
pthread_t s_mainThread = 0;
pid_t s_process = 0;
alignas(16) char s_stack[65536]; // the main thread's for signals: a stack that has overflown has no room
stack_t s_stackBefore;

quint64 threadId()
{
    return quint64(syscall(SYS_gettid));
}

bool isMainThread()
{
    return pthread_equal(pthread_self(), s_mainThread) != 0;
}

/// Where the thread was when the signal came; null where that is not known of the processor.
const void* placeOf(const ucontext_t& context)
{
#if defined(__x86_64__)
    return reinterpret_cast<const void*>(context.uc_mcontext.gregs[REG_RIP]);
#elif defined(__aarch64__)
    return reinterpret_cast<const void*>(context.uc_mcontext.pc);
#else
    Q_UNUSED(context)
    return nullptr;
#endif
}

/// A call through a null pointer leads to where no code is, and from there no stack can be followed: goes back to the
/// caller.
void returnFromNowhere(ucontext_t& context)
{
#if defined(__x86_64__)
    greg_t* const registers = context.uc_mcontext.gregs;
    registers[REG_RIP] = *reinterpret_cast<const greg_t*>(registers[REG_RSP]);
    registers[REG_RSP] += sizeof(greg_t);
#elif defined(__aarch64__)
    context.uc_mcontext.pc = context.uc_mcontext.regs[30];
#else
    Q_UNUSED(context)
#endif
}

/// Takes the frames from @p first on. Those of callers are addresses to return to, behind the call.
void takeFrames(cCrash& crash, void* const* frames, int first, int count)
{
    for (int i = first; i < count && crash.frameCount < cCrash::MostFrames; ++i)
        crash.frames[crash.frameCount++] = static_cast<const char*>(frames[i]) - 1;
}

/// The frames up to the signal are those of the handler. Where the signal came is known before the stack is followed.
void walk(cCrash& crash)
{
    ucontext_t& context = *static_cast<ucontext_t*>(crash.context);
    const mcontext_t before = context.uc_mcontext;
    const bool isNowhere = quintptr(placeOf(context)) < LeastCode;
    if (isNowhere)
        returnFromNowhere(context);
    const void* const at = placeOf(context);
    if (at)
        crash.frames[crash.frameCount++] = static_cast<const char*>(at) - (isNowhere ? 1 : 0);
    void* frames[cCrash::MostFrames + 8];
    const int count = backtrace(frames, int(sizeof frames / sizeof frames[0]));
    context.uc_mcontext = before;
    int first = 0;
    while (first < count && frames[first] != at)
        ++first;
    takeFrames(crash, frames, first < count ? first + 1 : 0, count);
}

void putBack()
{
    for (int i = 0; i < SignalCount; ++i) {
        if (s_isOurs[i])
            sigaction(Signals[i], &s_before[i], nullptr);
        s_isOurs[i] = false;
    }
}

/// Whether the signal comes anew when the thread goes on, so that a core file shows where.
bool comesAnew(int signal, const siginfo_t& info)
{
    const bool isAtInstruction = signal == SIGSEGV || signal == SIGBUS || signal == SIGFPE || signal == SIGILL;
    return isAtInstruction && info.si_code > 0; // which tells what the system itself has sent
}

/// Lets the signal do what it would have done.
void endWith(int signal, const siginfo_t* info)
{
    putBack();
    if (!info || !comesAnew(signal, *info))
        raise(signal);
}

void onSignal(int signal, siginfo_t* info, void* context)
{
    if (getpid() != s_process) { // a child that has not become another program yet, and has the slot in common with it
        endWith(signal, info);
        return;
    }
    const int savedError = errno;
    cCrash crash;
    crash.cause = signal;
    crash.hasAddress = info->si_code > 0 && (signal == SIGSEGV || signal == SIGBUS);
    crash.address = crash.hasAddress ? info->si_addr : nullptr;
    crash.thread = threadId();
    crash.isOfMainThread = isMainThread();
    crash.context = context;
    const qint32 first = CrashCatching::tell(crash, walk);
    endWith(first, first == signal ? info : nullptr);
    errno = savedError;
}

/// What has crashed has not come to an end.
void onAlarm(int)
{
    const int signal = cCrashReport::instance().cause();
    std::signal(signal, SIG_DFL);
    kill(getpid(), signal);
}

/// Gives the calling thread a stack for signals, unless it has a large one.
void takeStack()
{
    if (sigaltstack(nullptr, &s_stackBefore) != 0)
        return;
    if ((s_stackBefore.ss_flags & SS_DISABLE) == 0 && s_stackBefore.ss_size >= sizeof s_stack)
        return;
    stack_t stack{};
    stack.ss_sp = s_stack;
    stack.ss_size = sizeof s_stack;
    sigaltstack(&stack, nullptr);
}

void giveStackBack()
{
    stack_t stack{};
    if (sigaltstack(nullptr, &stack) == 0 && stack.ss_sp == s_stack)
        sigaltstack(&s_stackBefore, nullptr);
}

} // namespace

cCrash CrashCatching::here()
{
    cCrash crash;
    crash.cause = SIGABRT;
    crash.thread = threadId();
    crash.isOfMainThread = isMainThread();
    void* frames[cCrash::MostFrames];
    takeFrames(crash, frames, 1, backtrace(frames, cCrash::MostFrames));
    return crash;
}

void CrashCatching::catchAll()
{
    s_mainThread = pthread_self();
    s_process = getpid();
    void* frame = nullptr;
    backtrace(&frame, 1); // loads the library that it needs, which a handler must not
    takeStack();
    struct sigaction action
    {
    };
    action.sa_sigaction = onSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER; // a crash in the handler comes to it again
    sigemptyset(&action.sa_mask);
    for (int i = 0; i < SignalCount; ++i) {
        sigaction(Signals[i], nullptr, &s_before[i]);
        s_isOurs[i] = s_before[i].sa_handler != SIG_IGN && sigaction(Signals[i], &action, nullptr) == 0;
    }
}

void CrashCatching::catchNothing()
{
    for (int i = 0; i < SignalCount; ++i) {
        struct sigaction current
        {
        };
        if (s_isOurs[i] && sigaction(Signals[i], nullptr, &current) == 0)
            s_isOurs[i] = current.sa_sigaction == onSignal;
    }
    putBack();
    giveStackBack();
}

void CrashCatching::write()
{
    std::signal(SIGALRM, onAlarm);
    sigset_t alarms;
    sigemptyset(&alarms);
    sigaddset(&alarms, SIGALRM);
    pthread_sigmask(SIG_UNBLOCK, &alarms, nullptr);
    alarm(TimeLimit);
    cCrashReport::instance().write();
    alarm(0);
}

void CrashCatching::waitForEnd()
{
    while (true)
        pause();
}

void CrashHandler::abortMainThread()
{
    if (s_mainThread && pthread_kill(s_mainThread, SIGABRT) == 0)
        sleep(TimeLimit + 1);
    std::abort();
}
