// A library to be preloaded into a child process: it counts the calls that change the disk, and makes one of them go
// wrong. What it does stands in the environment:
//
//   FILE_FAULTS_BELOW   Only files below this folder count; an absolute path without links.
//   FILE_FAULTS         What is done, one of
//     count             nothing; the number is written at the end
//     kill N            the process is killed before the Nth call
//     tear N            as kill; when the Nth call writes, the first half of its bytes is written before
//     ENOSPC N, EROFS N the Nth call and all later ones fail with that error; removing goes on with a full disk
//   FILE_FAULTS_REPORT  A file that receives a line for each call that counts.
//
// Calls that only read do not count, nor do those on pipes and sockets. Linux with the GNU C library.

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

enum class Mode { Off, Count, Kill, Tear, Fail };

struct Faults
{
    Mode mode = Mode::Off;
    long number = 0;
    int error = 0;
    const char* below = nullptr;
    int report = -1;
};

std::atomic<long> seenCalls{0}; // of all threads

template <typename Function>
Function next(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

Faults readEnvironment()
{
    Faults faults;
    const char* what = getenv("FILE_FAULTS");
    faults.below = getenv("FILE_FAULTS_BELOW");
    if (!what || !faults.below)
        return faults;
    const char* number = strchr(what, ' ');
    faults.number = number ? atol(number) : 0;
    const auto is = [&](const char* word) { return strncmp(what, word, strlen(word)) == 0; };
    faults.mode = is("kill") ? Mode::Kill : is("tear") ? Mode::Tear : is("count") ? Mode::Count : Mode::Fail;
    faults.error = is("EROFS") ? EROFS : ENOSPC;
    if (const char* report = getenv("FILE_FAULTS_REPORT"))
        faults.report = int(syscall(SYS_openat, AT_FDCWD, report, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
    return faults;
}

Faults& faults()
{
    static Faults instance = readEnvironment();
    return instance;
}

bool isBelow(const char* path)
{
    const Faults& f = faults();
    return f.mode != Mode::Off && path && strncmp(path, f.below, strlen(f.below)) == 0;
}

/// What a file descriptor stands for also has a path, as long as it has not been removed.
bool isBelow(int fd)
{
    if (faults().mode == Mode::Off)
        return false;
    char link[64];
    char path[PATH_MAX];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t size = readlink(link, path, sizeof path - 1);
    if (size <= 0)
        return false;
    path[size] = 0;
    return isBelow(path);
}

const char* nameOf(const char* path)
{
    return path;
}

const char* nameOf(int)
{
    return "";
}

void die()
{
    syscall(SYS_kill, getpid(), SIGKILL);
    for (;;)
        pause();
}

/// Counts a call, and does to it what is to be done. @return whether it fails; errno then is set.
bool goesWrong(const char* call, const char* what, bool frees = false)
{
    Faults& f = faults();
    const long number = ++seenCalls;
    if (f.report >= 0) {
        char line[PATH_MAX + 64];
        const int size = snprintf(line, sizeof line, "%ld %s %s\n", number, call, what);
        syscall(SYS_write, f.report, line, size_t(size));
    }
    if ((f.mode == Mode::Kill || f.mode == Mode::Tear) && number == f.number)
        die();
    if (f.mode != Mode::Fail || number < f.number || (frees && f.error == ENOSPC))
        return false;
    errno = f.error;
    return true;
}

bool writes(int flags)
{
    return (flags & O_ACCMODE) != O_RDONLY || (flags & (O_CREAT | O_TRUNC));
}

template <typename Write>
ssize_t checkedWrite(int fd, size_t size, const char* call, Write write)
{
    if (!isBelow(fd))
        return write(size);
    Faults& f = faults();
    if (f.mode == Mode::Tear && seenCalls + 1 == f.number)
        write(size / 2);
    return goesWrong(call, "") ? -1 : write(size);
}

} // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

#define OPEN(NAME, HEAD, ARGUMENTS)                                                                                    \
    EXPORTED int NAME HEAD                                                                                             \
    {                                                                                                                  \
        mode_t mode = 0;                                                                                               \
        if (flags & (O_CREAT | O_TMPFILE)) {                                                                           \
            va_list list;                                                                                              \
            va_start(list, flags);                                                                                     \
            mode = mode_t(va_arg(list, int));                                                                          \
            va_end(list);                                                                                              \
        }                                                                                                              \
        if (writes(flags) && isBelow(path) && goesWrong(#NAME, path))                                                  \
            return -1;                                                                                                 \
        static const auto real = next<int(*) HEAD>(#NAME);                                                             \
        return real ARGUMENTS;                                                                                         \
    }
OPEN(open, (const char* path, int flags, ...), (path, flags, mode))
OPEN(open64, (const char* path, int flags, ...), (path, flags, mode))
OPEN(openat, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))
OPEN(openat64, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))

EXPORTED ssize_t write(int fd, const void* data, size_t size)
{
    static const auto real = next<ssize_t (*)(int, const void*, size_t)>("write");
    return checkedWrite(fd, size, "write", [&](size_t part) { return real(fd, data, part); });
}
EXPORTED ssize_t pwrite64(int fd, const void* data, size_t size, off64_t place)
{
    static const auto real = next<ssize_t (*)(int, const void*, size_t, off64_t)>("pwrite64");
    return checkedWrite(fd, size, "pwrite", [&](size_t part) { return real(fd, data, part, place); });
}

/// A call that returns an int; WHERE is the path or file that it changes, and FREES says that it makes room.
#define CALL(NAME, HEAD, ARGUMENTS, WHERE, FREES)                                                                      \
    EXPORTED int NAME HEAD                                                                                             \
    {                                                                                                                  \
        static const auto real = next<int(*) HEAD>(#NAME);                                                             \
        return isBelow(WHERE) && goesWrong(#NAME, nameOf(WHERE), FREES) ? -1 : real ARGUMENTS;                         \
    }
CALL(rename, (const char* from, const char* to), (from, to), to, false)
CALL(renameat, (int at, const char* from, int to, const char* path), (at, from, to, path), path, false)
CALL(renameat2, (int at, const char* from, int to, const char* path, unsigned flags), (at, from, to, path, flags), path,
     false)
CALL(link, (const char* from, const char* to), (from, to), to, false)
CALL(linkat, (int at, const char* from, int to, const char* path, int flags), (at, from, to, path, flags), path, false)
CALL(symlink, (const char* target, const char* path), (target, path), path, false)
CALL(unlink, (const char* path), (path), path, true)
CALL(unlinkat, (int at, const char* path, int flags), (at, path, flags), path, true)
CALL(rmdir, (const char* path), (path), path, true)
CALL(mkdir, (const char* path, mode_t mode), (path, mode), path, false)
CALL(mkdirat, (int at, const char* path, mode_t mode), (at, path, mode), path, false)
CALL(chmod, (const char* path, mode_t mode), (path, mode), path, false)
CALL(fchmod, (int fd, mode_t mode), (fd, mode), fd, false)
CALL(truncate64, (const char* path, off64_t size), (path, size), path, false)
CALL(ftruncate64, (int fd, off64_t size), (fd, size), fd, false)
CALL(fsync, (int fd), (fd), fd, false)
CALL(fdatasync, (int fd), (fd), fd, false)
CALL(syncfs, (int fd), (fd), fd, false)
