// The same for Windows: loaded into a process before it runs (see Platform_win.cpp), this library puts itself between
// all modules that are there and the calls that change the disk. FileFaults_linux.cpp tells of the environment. In
// addition
//
//   FILE_FAULTS_REGISTRY   When it is set, storing and removing values of the registry counts, as settings stand there.

#include <windows.h>

#include <psapi.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <atomic>
#include <utility>

namespace {

enum class Mode { Off, Count, Kill, Tear, Fail };

struct Faults
{
    Mode mode = Mode::Off;
    long number = 0;
    DWORD error = 0;
    std::atomic<long> seen{0};
    std::wstring below;
    bool isOnRegistry = false;
    HANDLE report = INVALID_HANDLE_VALUE;
};

Faults s_faults;

std::wstring variable(const wchar_t* name)
{
    wchar_t value[2048] = {};
    GetEnvironmentVariableW(name, value, DWORD(sizeof value / sizeof *value));
    return value;
}

/// One form for all spellings of a path.
std::wstring canonical(const wchar_t* path)
{
    wchar_t whole[4096] = {};
    const DWORD size = GetFullPathNameW(path, DWORD(sizeof whole / sizeof *whole), whole, nullptr);
    std::wstring text(whole, size < sizeof whole / sizeof *whole ? size : 0);
    if (text.compare(0, 4, L"\\\\?\\") == 0)
        text.erase(0, 4);
    CharLowerBuffW(text.data(), DWORD(text.size()));
    return text;
}

void readEnvironment()
{
    const std::wstring what = variable(L"FILE_FAULTS");
    s_faults.below = canonical(variable(L"FILE_FAULTS_BELOW").c_str());
    const std::wstring report = variable(L"FILE_FAULTS_REPORT");
    if (what.empty() || s_faults.below.empty())
        return;
    const auto is = [&](const wchar_t* word) { return what.compare(0, wcslen(word), word) == 0; };
    s_faults.mode = is(L"kill") ? Mode::Kill : is(L"tear") ? Mode::Tear : is(L"count") ? Mode::Count : Mode::Fail;
    s_faults.error = is(L"EROFS") ? ERROR_WRITE_PROTECT : ERROR_DISK_FULL;
    const auto number = what.find(L' ');
    s_faults.number = number == std::wstring::npos ? 0 : wcstol(what.c_str() + number, nullptr, 10);
    s_faults.isOnRegistry = !variable(L"FILE_FAULTS_REGISTRY").empty();
    if (!report.empty())
        s_faults.report = CreateFileW(report.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_ALWAYS, 0, nullptr);
}

bool isBelow(const wchar_t* path)
{
    if (s_faults.mode == Mode::Off || !path)
        return false;
    const std::wstring text = canonical(path);
    const std::size_t size = s_faults.below.size();
    return text.compare(0, size, s_faults.below) == 0 && (text.size() == size || text[size] == L'\\');
}

bool isBelow(HANDLE file)
{
    wchar_t path[4096];
    if (s_faults.mode == Mode::Off || GetFileType(file) != FILE_TYPE_DISK)
        return false;
    const DWORD size = GetFinalPathNameByHandleW(file, path, DWORD(sizeof path / sizeof *path), 0);
    return size > 0 && size < sizeof path / sizeof *path && isBelow(path);
}

void die()
{
    TerminateProcess(GetCurrentProcess(), 0xf291); // as one process kills another with Qt
    for (;;)
        Sleep(INFINITE);
}

/// Counts a call, and does to it what is to be done. @return whether it fails; the last error then is set.
bool goesWrong(const char* call, const wchar_t* what, bool frees = false)
{
    const long number = ++s_faults.seen;
    if (s_faults.report != INVALID_HANDLE_VALUE) {
        char line[4200];
        const int size = snprintf(line, sizeof line, "%ld %s %ls\n", number, call, what);
        DWORD written = 0;
        WriteFile(s_faults.report, line, DWORD(size > 0 ? size : 0), &written, nullptr);
    }
    if ((s_faults.mode == Mode::Kill || s_faults.mode == Mode::Tear) && number == s_faults.number)
        die();
    if (s_faults.mode != Mode::Fail || number < s_faults.number || (frees && s_faults.error == ERROR_DISK_FULL))
        return false;
    SetLastError(s_faults.error);
    return true;
}

HANDLE WINAPI faultyCreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                                DWORD disposition, DWORD flags, HANDLE like)
{
    const DWORD writing = GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA | FILE_APPEND_DATA;
    if (((access & writing) || disposition != OPEN_EXISTING) && isBelow(path) && goesWrong("open", path))
        return INVALID_HANDLE_VALUE;
    return CreateFileW(path, access, share, security, disposition, flags, like);
}

BOOL WINAPI faultyWriteFile(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped)
{
    if (isBelow(file)) {
        if (s_faults.mode == Mode::Tear && s_faults.seen + 1 == s_faults.number)
            WriteFile(file, data, size / 2, written, overlapped);
        if (goesWrong("write", L""))
            return FALSE;
    }
    return WriteFile(file, data, size, written, overlapped);
}

const wchar_t* nameOf(const wchar_t* path)
{
    return path;
}

const wchar_t* nameOf(HANDLE)
{
    return L"";
}

/// A call that answers a BOOL; WHERE is the path or file that it changes, and FREES says that it makes room.
#define CALL(NAME, WHAT, HEAD, ARGUMENTS, WHERE, FREES)                                                                \
    BOOL WINAPI faulty##NAME HEAD                                                                                      \
    {                                                                                                                  \
        return isBelow(WHERE) && goesWrong(WHAT, nameOf(WHERE), FREES) ? FALSE : NAME ARGUMENTS;                       \
    }
CALL(MoveFileW, "rename", (LPCWSTR from, LPCWSTR to), (from, to), to, false)
CALL(MoveFileExW, "rename", (LPCWSTR from, LPCWSTR to, DWORD flags), (from, to, flags), to, false)
CALL(ReplaceFileW, "rename", (LPCWSTR to, LPCWSTR from, LPCWSTR backup, DWORD flags, LPVOID exclude, LPVOID reserved),
     (to, from, backup, flags, exclude, reserved), to, false)
CALL(CopyFileW, "copy", (LPCWSTR from, LPCWSTR to, BOOL isNew), (from, to, isNew), to, false)
CALL(DeleteFileW, "unlink", (LPCWSTR path), (path), path, true)
CALL(CreateDirectoryW, "mkdir", (LPCWSTR path, LPSECURITY_ATTRIBUTES security), (path, security), path, false)
CALL(RemoveDirectoryW, "rmdir", (LPCWSTR path), (path), path, true)
CALL(SetFileAttributesW, "chmod", (LPCWSTR path, DWORD attributes), (path, attributes), path, false)
CALL(FlushFileBuffers, "fsync", (HANDLE file), (file), file, false)
CALL(SetEndOfFile, "ftruncate", (HANDLE file), (file), file, false)

LSTATUS WINAPI faultyRegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size)
{
    if (s_faults.isOnRegistry && s_faults.mode != Mode::Off && goesWrong("registry", name))
        return LSTATUS(s_faults.error);
    return RegSetValueExW(key, name, reserved, type, data, size);
}

LSTATUS WINAPI faultyRegDeleteValueW(HKEY key, LPCWSTR name)
{
    if (s_faults.isOnRegistry && s_faults.mode != Mode::Off && goesWrong("registry", name))
        return LSTATUS(s_faults.error);
    return RegDeleteValueW(key, name);
}

#define HOOK(NAME) std::pair(#NAME, reinterpret_cast<void*>(faulty##NAME))
const std::pair<const char*, void*> Hooks[] = {HOOK(CreateFileW),        HOOK(WriteFile),        HOOK(MoveFileW),
                                               HOOK(MoveFileExW),        HOOK(ReplaceFileW),     HOOK(CopyFileW),
                                               HOOK(DeleteFileW),        HOOK(CreateDirectoryW), HOOK(RemoveDirectoryW),
                                               HOOK(SetFileAttributesW), HOOK(FlushFileBuffers), HOOK(SetEndOfFile),
                                               HOOK(RegSetValueExW),     HOOK(RegDeleteValueW)};

void replaceImport(const char* name, ULONG_PTR* place)
{
    for (const auto& [hooked, function] : Hooks) {
        DWORD old = 0;
        if (strcmp(hooked, name) != 0 || !VirtualProtect(place, sizeof *place, PAGE_READWRITE, &old))
            continue;
        *place = reinterpret_cast<ULONG_PTR>(function);
        VirtualProtect(place, sizeof *place, old, &old);
    }
}

/// Every function that the module at @p base imports by its name stands in a table that can be changed.
void hookImports(char* base)
{
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (imports.Size == 0)
        return;
    const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
    for (; library->Name; ++library) {
        if (!library->OriginalFirstThunk)
            continue;
        const auto* names = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* places = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->FirstThunk);
        for (; names->u1.AddressOfData; ++names, ++places) {
            if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal))
                continue;
            const auto* import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            replaceImport(reinterpret_cast<const char*>(import->Name), &places->u1.Function);
        }
    }
}

/// What the system itself does to keep its house does not count. Where its known folders are, for one, the shell notes
/// in the registry whenever it is asked and finds that another process has not noted it yet.
bool isOfTheSystem(HMODULE module)
{
    wchar_t name[MAX_PATH] = {};
    GetModuleBaseNameW(GetCurrentProcess(), module, name, MAX_PATH);
    for (const wchar_t* system :
         {L"ntdll.dll", L"kernel32.dll", L"kernelbase.dll", L"advapi32.dll", L"shell32.dll", L"windows.storage.dll"}) {
        if (_wcsicmp(name, system) == 0)
            return true;
    }
    return false;
}

} // namespace

BOOL WINAPI DllMain(HINSTANCE self, DWORD reason, LPVOID)
{
    HMODULE modules[512];
    DWORD size = 0;
    if (reason != DLL_PROCESS_ATTACH)
        return TRUE;
    readEnvironment();
    if (!EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &size))
        return FALSE;
    for (DWORD i = 0; i < size / sizeof *modules && i < 512; ++i) {
        if (modules[i] != self && !isOfTheSystem(modules[i]))
            hookImports(reinterpret_cast<char*>(modules[i]));
    }
    return TRUE;
}
