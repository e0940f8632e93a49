#include "guard/CrashSystem.h"

#include <QtCore/QFile>

#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>
#include <execinfo.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

char s_folder[PATH_MAX];
int s_file = -1;

qint64 msOf(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

/// Writes a line of the system's table when it tells of code that lies in a file.
void writeLibrary(const char* line, int length)
{
    const std::string_view text(line, size_t(length));
    if (text.find(" r-xp ") != text.npos && text.find('/') != text.npos)
        CrashSystem::write(line, length);
}

} // namespace

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
    switch (cause) {
    case SIGSEGV:
        return "SIGSEGV";
    case SIGBUS:
        return "SIGBUS";
    case SIGFPE:
        return "SIGFPE";
    case SIGILL:
        return "SIGILL";
    case SIGABRT:
        return "SIGABRT";
    case SIGSYS:
        return "SIGSYS";
    case SIGTRAP:
        return "SIGTRAP";
    case SIGKILL: // this and the next end child processes from outside
        return "SIGKILL";
    case SIGTERM:
        return "SIGTERM";
    case SIGINT:
        return "SIGINT";
    case SIGHUP:
        return "SIGHUP";
    default:
        return nullptr;
    }
}

qint64 CrashSystem::now()
{
    return msOf(CLOCK_REALTIME_COARSE);
}

qint64 CrashSystem::uptime()
{
    return msOf(CLOCK_BOOTTIME);
}

quint64 CrashSystem::processId()
{
    return quint64(getpid());
}
