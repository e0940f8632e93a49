// Runs a program on a console of its own, also where there is no display: terminal PROGRAM [ARGUMENT...]
//
// What is drawn comes out of standard output; each byte of standard input is a Ctrl+C. The exit code is the program's.
// This is done in two processes, as one that makes a console is not on it: "terminal --inside" runs the program.

#include <windows.h>

#include <cstdlib>
#include <string>
#include <thread>

namespace {

/// The command line behind its first word, as it was written.
std::wstring rest(const std::wstring& line)
{
    bool isQuoted = false;
    size_t end = 0;
    for (; end < line.size() && (isQuoted || line[end] != L' '); ++end)
        isQuoted ^= line[end] == L'"';
    const size_t next = line.find_first_not_of(L' ', end);
    return next == std::wstring::npos ? std::wstring() : line.substr(next);
}

/// @return the process; null when it cannot be started.
HANDLE run(std::wstring line, STARTUPINFOW* start, DWORD flags)
{
    PROCESS_INFORMATION process{};
    start->dwFlags = STARTF_USESTDHANDLES;
    CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr, start, &process);
    return process.hProcess;
}

[[noreturn]] void endAs(HANDLE process)
{
    DWORD code = 125;
    if (process && WaitForSingleObject(process, INFINITE) == WAIT_OBJECT_0)
        GetExitCodeProcess(process, &code);
    ExitProcess(code); // a thread may still wait for input
}

BOOL WINAPI goOn(DWORD event)
{
    return event == CTRL_C_EVENT;
}

void interruptForEachByte(HANDLE input)
{
    char byte = 0;
    for (DWORD size = 0; ReadFile(input, &byte, 1, &size, nullptr) && size == 1;)
        GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
}

void runInside(const std::wstring& line)
{
    SetConsoleCtrlHandler(goOn, TRUE);
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    const auto open = [&](const wchar_t* name) {
        return CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                           OPEN_EXISTING, 0, nullptr);
    };
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.hStdInput = open(L"CONIN$");
    start.hStdOutput = start.hStdError = open(L"CONOUT$");
    const HANDLE process = run(line, &start, 0);
    std::thread(interruptForEachByte, GetStdHandle(STD_INPUT_HANDLE)).detach();
    endAs(process);
}

/// Passes on what comes until @p process has ended and a while nothing came: the console keeps its end open.
void passOn(HANDLE drawn, HANDLE process)
{
    char buffer[4096];
    for (int silence = 0; silence < 20;) {
        DWORD size = 0;
        if (PeekNamedPipe(drawn, nullptr, 0, nullptr, &size, nullptr) && size > 0) {
            ReadFile(drawn, buffer, sizeof buffer, &size, nullptr);
            WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), buffer, size, &size, nullptr);
            silence = 0;
        } else if (WaitForSingleObject(process, 5) == WAIT_OBJECT_0) {
            Sleep(5);
            ++silence;
        }
    }
}

void runOutside(const std::wstring& program, const std::wstring& line)
{
    HANDLE typed = nullptr, type = nullptr, drawn = nullptr, draw = nullptr;
    HPCON console = nullptr;
    if (!CreatePipe(&typed, &type, nullptr, 0) || !CreatePipe(&drawn, &draw, nullptr, 0) ||
        FAILED(CreatePseudoConsole(COORD{100, 25}, typed, draw, 0, &console)))
        return;
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    STARTUPINFOEXW start{};
    start.StartupInfo.cb = sizeof start;
    start.StartupInfo.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    start.lpAttributeList = static_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(std::malloc(size));
    if (!InitializeProcThreadAttributeList(start.lpAttributeList, 1, 0, &size) ||
        !UpdateProcThreadAttribute(start.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_PSEUDOCONSOLE, console,
                                   sizeof console, nullptr, nullptr))
        return;
    const HANDLE process =
        run(L"\"" + program + L"\" --inside " + line, &start.StartupInfo, EXTENDED_STARTUPINFO_PRESENT);
    if (process)
        passOn(drawn, process);
    endAs(process);
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const std::wstring line = rest(GetCommandLineW());
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    if (argc > 2 && argv[1] == std::wstring(L"--inside"))
        runInside(rest(line));
    else if (argc > 1)
        runOutside(program, line);
    return 126;
}
