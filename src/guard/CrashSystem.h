#pragma once

#include <QtCore/QString>

/// A crash, as the handler of the system finds it.
struct cCrash
{
    static constexpr int MostFrames = 64;

    qint32 cause = 0; // a signal's number, on Windows an exception's code
    bool hasAddress = false;
    const void* address = nullptr; // that could not be used, where the system tells one
    void* context = nullptr;       // of the system's handler, for the walk
    quint64 thread = 0;
    bool isOfMainThread = true;
    int frameCount = 0;
    const void* frames[MostFrames]; // addresses in the functions of the stack, the innermost first
};

/// Makes text in a fixed buffer on its way to the report.
class cCrashText
{
public:
    cCrashText() = default;
    ~cCrashText() { flush(); }
    cCrashText(const cCrashText&) = delete;
    cCrashText& operator=(const cCrashText&) = delete;

    cCrashText& text(const char* text);
    cCrashText& bytes(const char* text, int length);
    /// A number, with zeros in front up to @p width.
    cCrashText& number(quint64 value, int width = 1, int base = 10);
    cCrashText& address(quint64 value) { return text("0x").number(value, 16, 16); }
    void flush();

private:
    char m_buffer[256];
    int m_length = 0;
};

/// What each system does in its own way, in CrashSystem_unix.cpp and CrashSystem_win.cpp; for signal handlers but for
/// the first.
namespace CrashSystem {

/// Where reports are to be made.
void setFolder(const QString& folder);

/// Makes the file @p name in that folder, for the user alone. @return false when it cannot be made.
bool open(const char* name);
void write(const char* bytes, int length);
void close();

/// Writes a line for each frame: library and function.
void writeStack(const cCrash& crash);

/// Writes a line for each library: where it lies, and its path.
void writeLibraries();

/// The name of a cause, "SIGSEGV"; null for one that has none.
const char* nameOf(qint32 cause);

/// ms since 1970 UTC, as of the last tick of the system's clock, some ms ago: each step of a plugin asks.
qint64 now();

/// ms since the machine was started, those in which it slept too.
qint64 uptime();

quint64 processId();

} // namespace CrashSystem
