// Runs a program with the library FileFaults.dll, which lies beside this one, in it: withFaults PROGRAM [ARGUMENT...]

#include <windows.h>

#include <cstdio>
#include <string>

namespace {

/// The command line behind this program's own name, as it was written.
wchar_t* rest()
{
    wchar_t* line = GetCommandLineW();
    bool isQuoted = false;
    for (; *line && (isQuoted || *line != L' '); ++line)
        isQuoted ^= *line == L'"';
    while (*line == L' ')
        ++line;
    return line;
}

std::wstring libraryBeside()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program = path;
    return program.substr(0, program.rfind(L'\\') + 1) + L"FileFaults.dll";
}

/// The process has not begun yet: its first thread is this one, which has the library loaded behind those of the
/// program.
bool load(HANDLE process, const std::wstring& library)
{
    const SIZE_T size = (library.size() + 1) * sizeof(wchar_t);
    void* const name = VirtualAllocEx(process, nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    if (!name || !WriteProcessMemory(process, name, library.c_str(), size, nullptr))
        return false;
    const FARPROC function = GetProcAddress(GetModuleHandleW(L"kernel32"), "LoadLibraryW");
    const auto start = reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(function));
    const HANDLE thread = CreateRemoteThread(process, nullptr, 0, start, name, 0, nullptr);
    DWORD isLoaded = 0;
    return thread && WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0 && GetExitCodeThread(thread, &isLoaded) &&
           isLoaded;
}

/// Makes the process, which does not begin yet. Under Wine one of some thousand was refused; nothing has happened
/// then, so it is tried again, and said.
bool create(PROCESS_INFORMATION* child)
{
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    start.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    for (int tries = 0; tries < 10; ++tries) {
        if (CreateProcessW(nullptr, rest(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr, nullptr, &start, child))
            return true;
        std::fprintf(stderr, "withFaults: no process was made: error %lu\n", GetLastError());
        Sleep(200);
    }
    return false;
}

} // namespace

int wmain()
{
    PROCESS_INFORMATION child{};
    if (!create(&child))
        return 125;
    if (!load(child.hProcess, libraryBeside())) {
        TerminateProcess(child.hProcess, 126);
        return 126;
    }
    ResumeThread(child.hThread);
    WaitForSingleObject(child.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(child.hProcess, &code);
    ExitProcess(code);
}
