#include "guard/CrashCatching.h"
#include "guard/CrashHandler.h"

#include <QtCore/QFile>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

struct cSignal
{
    int number;
    const char* name;
    bool isAtInstruction; // which comes anew when it is gone on with, so that a core file shows it
};

constexpr cSignal Signals[] = {{SIGSEGV, "SIGSEGV", true}, {SIGBUS, "SIGBUS", true},    {SIGFPE, "SIGFPE", true},
                               {SIGILL, "SIGILL", true},   {SIGABRT, "SIGABRT", false}, {SIGSYS, "SIGSYS", false},
                               {SIGTRAP, "SIGTRAP", false}};
constexpr int SignalCount = int(sizeof Signals / sizeof Signals[0]);

constexpr quintptr LeastCode = 4096; // below lies what a call through a null pointer leads to
constexpr unsigned TimeLimit = 10;   // seconds

struct sigaction s_before[SignalCount]; // what stood there before
bool s_isOurs[SignalCount];
pthread_t s_mainThread = 0;
alignas(16) char s_stack[65536]; // the main thread's for signals: a stack that has overflown has no room
char s_folder[PATH_MAX];
int s_file = -1;

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
            sigaction(Signals[i].number, &s_before[i], nullptr);
        s_isOurs[i] = false;
    }
}

/// Lets the signal do what it would have done.
void endWith(int signal, const siginfo_t* info)
{
    putBack();
    for (const cSignal& known : Signals) {
        if (known.number == signal && known.isAtInstruction && info && info->si_code > 0)
            return;
    }
    raise(signal);
}

void onSignal(int signal, siginfo_t* info, void* context)
{
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

/// Writes a line of the system's table when it tells of code that lies in a file.
void writeLibrary(const char* line, int length)
{
    const std::string_view text(line, size_t(length));
    if (text.find(" r-xp ") != text.npos && text.find('/') != text.npos)
        CrashSystem::write(line, length);
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
        sigaction(Signals[i].number, nullptr, &s_before[i]);
        s_isOurs[i] = s_before[i].sa_handler != SIG_IGN && sigaction(Signals[i].number, &action, nullptr) == 0;
    }
}

void CrashCatching::catchNothing()
{
    for (int i = 0; i < SignalCount; ++i) {
        struct sigaction current
        {
        };
        if (s_isOurs[i] && sigaction(Signals[i].number, nullptr, &current) == 0)
            s_isOurs[i] = current.sa_sigaction == onSignal;
    }
    putBack();
    giveStackBack();
}

void CrashCatching::limitTime(bool isLimited)
{
    if (!isLimited) {
        alarm(0);
        return;
    }
    std::signal(SIGALRM, onAlarm);
    sigset_t alarms;
    sigemptyset(&alarms);
    sigaddset(&alarms, SIGALRM);
    pthread_sigmask(SIG_UNBLOCK, &alarms, nullptr);
    alarm(TimeLimit);
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

void CrashSystem::setFolder(const QString& folder)
{
    qstrncpy(s_folder, QFile::encodeName(folder).constData(), sizeof s_folder);
}

bool CrashSystem::open(const char* name)
{
    const int folder = ::open(s_folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    s_file = openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    ::close(folder);
    return s_file >= 0;
}

void CrashSystem::write(const char* bytes, int length)
{
    while (length > 0 && s_file >= 0) {
        const ssize_t written = ::write(s_file, bytes, size_t(length));
        if (written < 0 && errno != EINTR)
            return;
        if (written > 0) {
            bytes += written;
            length -= int(written);
        }
    }
}

void CrashSystem::close()
{
    ::close(s_file);
    s_file = -1;
}

void CrashSystem::writeStack(const cCrash& crash)
{
    backtrace_symbols_fd(const_cast<void* const*>(reinterpret_cast<const void* const*>(crash.frames)), crash.frameCount,
                         s_file);
}

void CrashSystem::writeLibraries()
{
    const int table = ::open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    char line[PATH_MAX + 128];
    char piece[1024];
    int length = 0;
    for (ssize_t count; (count = ::read(table, piece, sizeof piece)) > 0;) {
        for (ssize_t i = 0; i < count; ++i) {
            if (length < int(sizeof line))
                line[length++] = piece[i];
            if (piece[i] != '\n')
                continue;
            writeLibrary(line, length);
            length = 0;
        }
    }
    ::close(table);
}

const char* CrashSystem::nameOf(qint32 cause)
{
    for (const cSignal& known : Signals) {
        if (known.number == cause)
            return known.name;
    }
    return nullptr;
}

qint64 CrashSystem::now()
{
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

quint64 CrashSystem::processId()
{
    return quint64(getpid());
}
