#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "common/console.h"

namespace vxttools {
namespace {

volatile sig_atomic_t g_nInterrupted = 0;
volatile sig_atomic_t g_nWentOn = 0;
const CScreenWords* volatile g_pScreen = nullptr;

/// Ctrl-C, the request to end, the closed terminal.
constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

void g_Say(const char* pszWords) { (void)!write(STDOUT_FILENO, pszWords, std::strlen(pszWords)); }

/// Remembers the first request, and lets the system act on a second one as if there was no handler.
void g_OnSignal(int nSignal) {
    if (!g_nInterrupted) {
        g_nInterrupted = 1;
        return;
    }
    if (const CScreenWords* const pScreen = g_pScreen) g_Say(pScreen->pszGiveBack);
    signal(nSignal, SIG_DFL);
    raise(nSignal);  // comes when the handler is left
}

/// Ctrl-Z: the shell has the terminal until it lets the process go on.
void g_OnStop(int) {
    const CScreenWords* const pScreen = g_pScreen;
    if (pScreen) g_Say(pScreen->pszGiveBack);
    raise(SIGSTOP);
    if (pScreen) g_Say(pScreen->pszTake);
    g_nWentOn = 1;
}

std::optional<CTerminalSize> g_Size(int nDescriptor) {
    winsize Size = {};
    if (ioctl(nDescriptor, TIOCGWINSZ, &Size) != 0 || Size.ws_col == 0) return std::nullopt;
    return CTerminalSize{Size.ws_col, Size.ws_row};
}

std::optional<size_t> g_Columns(int nDescriptor) {
    const std::optional<CTerminalSize> oSize = g_Size(nDescriptor);
    return oSize ? std::optional(oSize->uColumns) : std::nullopt;
}

/// Calls `Wait` until it says that it is over or the process is asked to end: false. It waits with the signals that it is
/// given: they are held back from the look at the flag until the wait has begun, so that none can fall in between.
template <class TWait> bool g_WaitUnlessAsked(TWait Wait) {
    sigset_t Ending, Before;
    sigemptyset(&Ending);
    for (const int nSignal : kEndingSignals) sigaddset(&Ending, nSignal);
    sigprocmask(SIG_BLOCK, &Ending, &Before);
    while (!g_nInterrupted && !Wait(Before)) continue;
    sigprocmask(SIG_SETMASK, &Before, nullptr);
    return !g_nInterrupted;
}

}  // namespace

std::vector<std::string> g_StartConsole(int nArguments, char** ppszArguments) {
    // A stream that was closed must not become the number of the next file that is opened; writing there fails as before.
    for (const int nStream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(nStream, F_GETFD) < 0 && open("/dev/null", O_RDONLY) < 0) _exit(1);
    struct sigaction Action = {}, Before = {};
    Action.sa_handler = g_OnSignal;
    for (const int nSignal : kEndingSignals)  // what was ignored from the start stays so: nohup
        if (sigaction(nSignal, nullptr, &Before) == 0 && Before.sa_handler != SIG_IGN)
            sigaction(nSignal, &Action, nullptr);
    // A reader that goes away must not end the process amid a change: the write fails instead.
    Action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &Action, nullptr);
    sigaction(SIGXFSZ, &Action, nullptr);  // likewise a file that may not grow any more
    return {ppszArguments + (nArguments > 0), ppszArguments + nArguments};
}

uint32_t g_ProcessorCount() { return static_cast<uint32_t>(sysconf(_SC_NPROCESSORS_ONLN)); }

CTerminal g_OwnTerminal() {
    return {isatty(STDIN_FILENO) != 0, isatty(STDOUT_FILENO) && g_Environment("TERM") != "dumb",
            g_Columns(STDOUT_FILENO), g_Columns(STDERR_FILENO)};
}
std::optional<CTerminalSize> g_StdoutSize() { return g_Size(STDOUT_FILENO); }

void g_HoldScreen(const CScreenWords* pWords) {
    g_pScreen = pWords;
    struct sigaction Action = {}, Before = {};
    Action.sa_handler = pWords ? g_OnStop : SIG_DFL;
    Action.sa_flags = static_cast<int>(SA_RESTART);  // a picture that is being written goes on
    if (sigaction(SIGTSTP, nullptr, &Before) == 0 && Before.sa_handler != SIG_IGN) sigaction(SIGTSTP, &Action, nullptr);
}

bool g_WentOn() {
    const bool bWentOn = g_nWentOn != 0;
    g_nWentOn = 0;
    return bWentOn;
}

bool g_WaitForInput() {
    pollfd Input{STDIN_FILENO, POLLIN, 0};
    return g_WaitUnlessAsked([&](const sigset_t& rUnblocked) { return ppoll(&Input, 1, nullptr, &rUnblocked) >= 0; });
}

std::string g_ReadInput(size_t uMost) {
    std::string sData(uMost, '\0');
    ssize_t nRead = 0;
    do nRead = read(STDIN_FILENO, sData.data(), sData.size());
    while (nRead < 0 && errno == EINTR && !g_nInterrupted);
    sData.resize(nRead > 0 ? static_cast<size_t>(nRead) : 0);
    return sData;
}

bool g_Pause(std::chrono::milliseconds Duration) {
    const auto End = std::chrono::steady_clock::now() + Duration;
    return g_WaitUnlessAsked([&](const sigset_t& rUnblocked) {
        const auto Left = std::chrono::ceil<std::chrono::nanoseconds>(End - std::chrono::steady_clock::now()).count();
        if (Left <= 0) return true;
        constexpr long lSecond = 1'000'000'000;
        const timespec Time{static_cast<time_t>(Left / lSecond), static_cast<long>(Left % lSecond)};
        return ppoll(nullptr, 0, &Time, &rUnblocked) == 0;
    });
}

std::filesystem::path g_StateFolder() {
    // The base directory standard: what is no absolute path does not count.
    for (const auto& [pszName, pszBelow] : {std::pair("XDG_STATE_HOME", ""), std::pair("HOME", ".local/state")})
        if (const std::filesystem::path Folder = g_Environment(pszName); Folder.is_absolute()) return Folder / pszBelow;
    return {};
}

bool g_WasInterrupted() { return g_nInterrupted; }
void g_SetEnvironment(const char* pszName, const std::string& sValue) { setenv(pszName, sValue.c_str(), 1); }
std::filesystem::path g_Executable() { return std::filesystem::read_symlink("/proc/self/exe"); }

}  // namespace vxttools
