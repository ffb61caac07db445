#include <windows.h>
// The others lean on it.
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <cstring>

#include "common/console.h"

namespace vxttools {
namespace {

std::atomic<bool> g_bInterrupted = false;
std::atomic<const CScreenWords*> g_pScreen = nullptr;

/// Runs on a thread of its own (HandlerRoutine callback). FALSE passes on to the default handler, which ends the
/// process.
BOOL WINAPI g_OnControl(DWORD dwEvent) {
    const bool bIsFirst = !g_bInterrupted.exchange(true);
    DWORD dwWritten = 0;
    if (const CScreenWords* const pScreen = bIsFirst ? nullptr : g_pScreen.load())
        WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), pScreen->pszGiveBack,
                  static_cast<DWORD>(std::strlen(pScreen->pszGiveBack)), &dwWritten, nullptr);
    if (dwEvent == CTRL_C_EVENT || dwEvent == CTRL_BREAK_EVENT) return bIsFirst;
    // A closed console, the end of the session: the process ends when this returns, so it waits for the main thread to
    // end the process in its own way. The system's patience (some seconds) is the limit.
    Sleep(INFINITE);
    return FALSE;
}

bool g_IsConsole(DWORD dwHandle) {
    DWORD dwMode = 0;
    return GetConsoleMode(GetStdHandle(dwHandle), &dwMode) != 0;
}

/// One column less than the window has: behind a character in its last column older consoles begin a new line by
/// themselves.
std::optional<CTerminalSize> g_Size(DWORD dwHandle) {
    CONSOLE_SCREEN_BUFFER_INFO Info{};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(dwHandle), &Info)) return std::nullopt;
    const auto [sLeft, sTop, sRight, sBottom] = Info.srWindow;
    if (sRight <= sLeft || sBottom < sTop) return std::nullopt;
    return CTerminalSize{static_cast<size_t>(sRight - sLeft), static_cast<size_t>(sBottom - sTop + 1)};
}

std::optional<size_t> g_Columns(DWORD dwHandle) {
    const std::optional<CTerminalSize> oSize = g_Size(dwHandle);
    return oSize ? std::optional(oSize->uColumns) : std::nullopt;
}

std::wstring g_Wide(const std::string& sUtf8) { return g_Path(sUtf8).wstring(); }

}  // namespace

std::vector<std::string> g_StartConsole(int, char**) {
    SetConsoleCtrlHandler(g_OnControl, TRUE);
    SetConsoleOutputCP(CP_UTF8);
    DWORD dwMode = 0;
    const HANDLE hOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    if (GetConsoleMode(hOutput, &dwMode)) SetConsoleMode(hOutput, dwMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    setvbuf(stderr, nullptr, _IONBF, 0);  // a plan has to be seen before the act, through pipes, too

    // main() got the arguments in the code page; the command line itself is UTF-16.
    std::vector<std::string> Arguments;
    int nArguments = 0;
    if (LPWSTR* ppszArguments = CommandLineToArgvW(GetCommandLineW(), &nArguments)) {
        for (int i = 1; i < nArguments; ++i) {
            const std::u8string sArgument = std::filesystem::path(ppszArguments[i]).u8string();
            Arguments.emplace_back(sArgument.begin(), sArgument.end());
        }
        LocalFree(ppszArguments);
    }
    return Arguments;
}

uint32_t g_ProcessorCount() {
    SYSTEM_INFO Information{};
    GetSystemInfo(&Information);
    return Information.dwNumberOfProcessors;
}

CTerminal g_OwnTerminal() {
    DWORD dwMode = 0;
    const bool bObedient =
        GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &dwMode) && (dwMode & ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    return {g_IsConsole(STD_INPUT_HANDLE), bObedient, g_Columns(STD_OUTPUT_HANDLE), g_Columns(STD_ERROR_HANDLE)};
}
std::optional<CTerminalSize> g_StdoutSize() { return g_Size(STD_OUTPUT_HANDLE); }
void g_HoldScreen(const CScreenWords* pWords) { g_pScreen = pWords; }
bool g_WentOn() { return false; }                  // consoles stop nobody
bool g_WaitForInput() { return !g_bInterrupted; }  // Ctrl-C ends a console's read
std::string g_ReadInput(size_t uMost) {
    std::string sData(uMost, '\0');
    const int nRead =
        _read(_fileno(stdin), sData.data(), static_cast<unsigned>(sData.size()));  // text: line feeds alone
    sData.resize(nRead > 0 ? static_cast<size_t>(nRead) : 0);
    return sData;
}
bool g_Pause(std::chrono::milliseconds Duration) {
    constexpr std::chrono::milliseconds kLook{20};  // the handler has a thread of its own
    const auto End = std::chrono::steady_clock::now() + Duration;
    while (!g_bInterrupted && std::chrono::steady_clock::now() < End) {
        const auto Left = std::chrono::ceil<std::chrono::milliseconds>(End - std::chrono::steady_clock::now());
        if (Left.count() > 0) Sleep(static_cast<DWORD>(std::min(Left, kLook).count()));
    }
    return !g_bInterrupted;
}
bool g_WasInterrupted() { return g_bInterrupted; }

void g_SetEnvironment(const char* pszName, const std::string& sValue) {
    _wputenv((g_Wide(pszName) + L"=" + g_Wide(sValue)).c_str());  // the C runtime's copy and the process's block
}

std::filesystem::path g_StateFolder() {
    const wchar_t* const pszFolder = _wgetenv(L"LOCALAPPDATA");  // in UTF-16: users' names have all letters
    return pszFolder ? pszFolder : L"";
}

std::filesystem::path g_Executable() {
    std::wstring sPath(32768, L'\0');  // the longest path there is
    sPath.resize(GetModuleFileNameW(nullptr, sPath.data(), static_cast<DWORD>(sPath.size())));
    return sPath;
}

}  // namespace vxttools
