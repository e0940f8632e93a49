#include "Platform.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QRegularExpression>

#include <windows.h>

#include <atomic>
#include <thread>

const Platform::Traits Platform::Here{".dll", "\r\n", false, false};

/// On a busy machine Wine refuses one of some thousand starts, for no reason of the program's.
static void startPatiently(QProcess& process, const QString& program, const QStringList& arguments)
{
    for (int tries = 0; tries < 3; ++tries) {
        process.start(program, arguments);
        if (process.error() != QProcess::FailedToStart)
            return;
    }
}

/// The process has not begun yet: its first thread is the one that loads the library, behind those of the program.
static void loadFaultsInto(QProcess& process)
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    const PROCESS_INFORMATION child = *process.pid(); // nothing else tells of the thread
    QT_WARNING_POP
    const std::wstring library = QFileInfo(QStringLiteral(FILE_FAULTS)).absoluteFilePath().toStdWString();
    const SIZE_T size = (library.size() + 1) * sizeof(wchar_t);
    void* const name = VirtualAllocEx(child.hProcess, nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    WriteProcessMemory(child.hProcess, name, library.c_str(), size, nullptr);
    const FARPROC function = GetProcAddress(GetModuleHandleW(L"kernel32"), "LoadLibraryW");
    const auto load = reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(function));
    const HANDLE thread = CreateRemoteThread(child.hProcess, nullptr, 0, load, name, 0, nullptr);
    DWORD isLoaded = 0;
    if (WaitForSingleObject(thread, INFINITE) != WAIT_OBJECT_0 || !GetExitCodeThread(thread, &isLoaded) || !isLoaded)
        qFatal("FileFaults.dll cannot be loaded");
    CloseHandle(thread);
    ResumeThread(child.hThread);
}

bool Platform::isRunning(qint64 process)
{
    const HANDLE handle = OpenProcess(SYNCHRONIZE, FALSE, DWORD(process));
    const bool isRunning = handle && WaitForSingleObject(handle, 0) == WAIT_TIMEOUT;
    if (handle)
        CloseHandle(handle);
    return isRunning;
}

bool Platform::isAborted(const QProcess& process)
{
    return process.exitStatus() == QProcess::CrashExit || process.exitCode() == 3; // the runtime's abort()
}

void Platform::start(QProcess& process, const QString& program, const QStringList& arguments)
{
    const bool hasFaults = process.processEnvironment().contains(QStringLiteral("FILE_FAULTS"));
    if (hasFaults)
        process.setCreateProcessArgumentsModifier(
            [](QProcess::CreateProcessArguments* started) { started->flags |= CREATE_SUSPENDED; });
    startPatiently(process, program, arguments);
    if (hasFaults && process.error() != QProcess::FailedToStart)
        loadFaultsInto(process);
}

void Platform::startAgain(QProcess& process, const QStringList& arguments)
{
    // A console is one more process, which inherits all that this one lets be inherited. Wine's outlives the child.
    process.setCreateProcessArgumentsModifier([](QProcess::CreateProcessArguments* started) {
        started->flags &= ~DWORD(CREATE_NO_WINDOW);
        started->flags |= DETACHED_PROCESS;
    });
    startPatiently(process, QCoreApplication::applicationFilePath(), arguments);
}

void Platform::loadFaults()
{
    if (qEnvironmentVariableIsSet("FILE_FAULTS") && !LoadLibraryW(L"FileFaults.dll"))
        qFatal("FileFaults.dll cannot be loaded");
}

void Platform::startInterruptible(QProcess& process, const QString& program, const QStringList& arguments)
{
    startOnTerminal(process, program, arguments);
}

void Platform::interrupt(QProcess& process)
{
    process.write("c");
}

bool Platform::startOnTerminal(QProcess& process, const QString& program, const QStringList& arguments)
{
    process.start(QStringLiteral(TERMINAL_PROGRAM), QStringList(program) + arguments);
    return process.waitForStarted();
}

QString Platform::drawnText(QByteArray bytes)
{
    // A console tells which cells change; a blank one is left by moving on.
    return QString::fromUtf8(bytes.replace("\x1b[1C", " "))
        .remove(QRegularExpression(QStringLiteral("\x1b\\[[?0-9;]*[A-Za-z]")));
}

bool Platform::link(const QString& target, const QString& path)
{
    const std::wstring from = QDir::toNativeSeparators(path).toStdWString();
    const DWORD kind = QFileInfo(target).isDir() ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0;
    CreateSymbolicLinkW(from.c_str(), QDir::toNativeSeparators(target).toStdWString().c_str(), kind);
    const DWORD attributes = GetFileAttributesW(from.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

/// Takes the lines as a debugger that watches the whole machine does: each comes in a shared page with its process.
class Platform::DebuggerLines::Listener
{
public:
    Listener()
    {
        m_isFree = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_BUFFER_READY");
        m_isFilled = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY");
        m_mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, Size, L"DBWIN_BUFFER");
        m_page = static_cast<char*>(MapViewOfFile(m_mapping, FILE_MAP_READ, 0, 0, 0));
        m_thread = std::thread([this] { listen(); });
    }
    ~Listener()
    {
        stop();
        UnmapViewOfFile(m_page);
        for (const HANDLE handle : {m_isFree, m_isFilled, m_mapping})
            CloseHandle(handle);
    }

    /// What was written is taken before its writer goes on, so it is here when the process has ended.
    QByteArray stop()
    {
        m_isStopped = true;
        SetEvent(m_isFilled);
        if (m_thread.joinable())
            m_thread.join();
        return m_text;
    }

private:
    static constexpr DWORD Size = 4096;

    void listen()
    {
        for (;;) {
            SetEvent(m_isFree);
            WaitForSingleObject(m_isFilled, INFINITE);
            if (m_isStopped)
                return;
            m_text += m_page + sizeof(DWORD); // behind the number of the process
            if (!m_text.endsWith('\n'))
                m_text += '\n'; // debuggers show each on a line of its own
        }
    }

    HANDLE m_isFree = nullptr;
    HANDLE m_isFilled = nullptr;
    HANDLE m_mapping = nullptr;
    char* m_page = nullptr;
    std::atomic<bool> m_isStopped{false};
    QByteArray m_text;
    std::thread m_thread;
};

Platform::DebuggerLines::DebuggerLines() : m_listener(std::make_unique<Listener>()) {}
Platform::DebuggerLines::~DebuggerLines() = default;

QByteArray Platform::DebuggerLines::take(QProcess&)
{
    QByteArray text = m_listener->stop();
    return text.replace("\r\n", "\n");
}
