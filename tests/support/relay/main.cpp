// Runs a program of the machine under Wine as if it were one of Windows: its standard streams and its exit code are
// this program's own. Wine starts such programs, but passes no pipe to them and no handle back; relay.py is the other
// end.
//
//   relay RELAY.PY PROGRAM [ARGUMENT...]      all paths as the machine writes them
//   PROGRAM [ARGUMENT...]                     a copy with that name; RELAY.PY stands in the environment, RELAY_SCRIPT

#include <winsock2.h> // before windows.h

#include <windows.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string narrow(const std::wstring& text)
{
    std::string bytes(size_t(WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, bytes.data(), int(bytes.size()), nullptr, nullptr);
    return bytes; // with the zero byte at its end
}

/// The words behind "relay", whichever way they were given.
std::vector<std::wstring> words(int argc, wchar_t** argv)
{
    std::vector<std::wstring> words(argv + 1, argv + argc);
    wchar_t text[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, text, MAX_PATH);
    std::wstring name = text;
    name = name.substr(name.rfind(L'\\') + 1);
    name = name.substr(0, name.rfind(L'.'));
    if (name != L"relay") {
        GetEnvironmentVariableW(L"RELAY_SCRIPT", text, MAX_PATH);
        words.insert(words.begin(), {text, name});
    }
    return words;
}

SOCKET listenSomewhere(u_short* port)
{
    const SOCKET listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof address;
    bind(listener, reinterpret_cast<sockaddr*>(&address), size);
    listen(listener, 3);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    *port = ntohs(address.sin_port);
    return listener;
}

bool startPython(const std::wstring& script, u_short port)
{
    std::wstring line = L"python3 \"" + script + L"\" " + std::to_wstring(port);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    return CreateProcessW(L"Z:\\usr\\bin\\python3", line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                          &process);
}

void sendAll(SOCKET to, const char* bytes, int size)
{
    for (int sent = 0; size > 0 && (sent = send(to, bytes, size, 0)) > 0; size -= sent)
        bytes += sent;
}

void passInput(SOCKET to)
{
    char buffer[65536];
    for (DWORD size = 0; ReadFile(GetStdHandle(STD_INPUT_HANDLE), buffer, sizeof buffer, &size, nullptr) && size > 0;)
        sendAll(to, buffer, int(size));
    shutdown(to, SD_SEND);
}

void passOutput(SOCKET from, DWORD to)
{
    char buffer[65536];
    for (int size = 0; (size = recv(from, buffer, sizeof buffer, 0)) > 0;) {
        DWORD written = 0;
        WriteFile(GetStdHandle(to), buffer, DWORD(size), &written, nullptr);
    }
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    WSADATA data;
    u_short port = 0;
    const std::vector<std::wstring> given = words(argc, argv);
    if (given.size() < 2 || WSAStartup(MAKEWORD(2, 2), &data) != 0)
        return 125;
    const SOCKET listener = listenSomewhere(&port);
    if (!startPython(given[0], port))
        return 126;
    const SOCKET control = accept(listener, nullptr, nullptr);
    const SOCKET streams = accept(listener, nullptr, nullptr);
    const SOCKET errors = accept(listener, nullptr, nullptr);
    for (size_t i = 1; i < given.size(); ++i) {
        const std::string word = narrow(given[i]);
        sendAll(control, word.data(), int(word.size()));
    }
    shutdown(control, SD_SEND);
    std::thread(passInput, streams).detach();
    std::thread errorThread(passOutput, errors, STD_ERROR_HANDLE);
    passOutput(streams, STD_OUTPUT_HANDLE);
    errorThread.join();
    char code[16] = {};
    recv(control, code, sizeof code - 1, 0);
    ExitProcess(UINT(std::atoi(code))); // a thread may still wait for input
}
