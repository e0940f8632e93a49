// Runs a program of the machine under Wine as if it were one of Windows: its standard streams and its exit code are
// this program's own. Wine starts such programs, but passes no pipe to them and no handle back; relay.py is the other
// end.
//
//   relay RELAY.PY PROGRAM [ARGUMENT...]      all paths as the machine writes them

#include <winsock2.h> // before windows.h

#include <windows.h>

#include <cstdlib>
#include <string>
#include <thread>

namespace {

std::string narrow(const wchar_t* text)
{
    std::string bytes(size_t(WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes.data(), int(bytes.size()), nullptr, nullptr);
    return bytes; // with the zero byte at its end
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
    if (argc < 3 || WSAStartup(MAKEWORD(2, 2), &data) != 0)
        return 125;
    const SOCKET listener = listenSomewhere(&port);
    if (!startPython(argv[1], port))
        return 126;
    const SOCKET control = accept(listener, nullptr, nullptr);
    const SOCKET streams = accept(listener, nullptr, nullptr);
    const SOCKET errors = accept(listener, nullptr, nullptr);
    for (int i = 2; i < argc; ++i) {
        const std::string word = narrow(argv[i]);
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
