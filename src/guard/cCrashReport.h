#pragma once

#include "guard/cGuardSlot.h"

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

/**
 * The report of a crash, and the mark in the guard's slot.
 *
 * What it says of the process is made ready beforehand, in fixed memory: from the crash on only such functions are
 * called as a signal handler may call. It is written in stages. A crash in one of them is met by the next one, so that
 * a stack that cannot be followed takes nothing else with it.
 *
 * There is one in a process. The handler sees to it that one thread only comes here.
 */
class cCrashReport
{
public:
    constexpr cCrashReport() = default;

    static cCrashReport& instance();

    /// Makes ready what a report says of the process, and removes the oldest reports beyond the number that is kept.
    /// @param slot not owned; must live until forgetSlot(). May be null.
    void prepare(cGuardSlot* slot, const QString& folder);

    /// From now on the slot is not touched any more.
    void forgetSlot() { m_slot = nullptr; }

    /// What is told beside the cause, such as a fatal message. Not for a signal handler.
    void setMessage(const QString& message);

    /// Whether @p crash has to do with a plugin: a step is at hand, or the code of one is on the stack.
    bool isOfPlugin(const cCrash& crash) const;

    /// Notes what has happened. @p walk fills the frames of a crash.
    void begin(const cCrash& crash, void (*walk)(cCrash& crash));

    /// Writes the report, or what is left to be written of it after a crash in the midst. Once done it does nothing.
    void write();

    /// The cause of what has begun.
    qint32 cause() const { return m_crash.cause; }

private:
    enum Stage { Mark, Walk, Name, Head, Stack, Log, Libraries, Done };

    void take(Stage stage);
    void mark();
    void name();
    void head();
    void log();
    const char* pluginOnStack() const;
    const char* plugin() const;

    cGuardSlot* m_slot = nullptr;
    char m_about[2048] = {};
    char m_message[1024] = {};
    cCrash m_crash{};
    void (*m_walk)(cCrash&) = nullptr;
    qint64 m_time = 0; // ms since 1970 UTC
    const char* m_plugin = nullptr;
    cGuardSlot::Step m_step = cGuardSlot::None;
    int m_stage = Done;
    bool m_isOpen = false;
    bool m_isWalkCut = false; // by a crash
};

/// What each system does in its own way, in CrashHandler_unix.cpp and CrashHandler_win.cpp; for signal handlers but for
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

qint64 now(); // ms since 1970 UTC
quint64 processId();

} // namespace CrashSystem
