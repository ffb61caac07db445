#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include "common/console.h"

namespace vxttools {
namespace {

volatile sig_atomic_t g_nInterrupted = 0;

}  // namespace

std::vector<std::string> g_StartConsole(int nArguments, char** ppszArguments) {
    struct sigaction Action = {};
    Action.sa_handler = [](int) { g_nInterrupted = 1; };
    Action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &Action, nullptr);
    return {ppszArguments + (nArguments > 0), ppszArguments + nArguments};
}

bool g_IsStdinTerminal() { return isatty(STDIN_FILENO); }
bool g_IsStdoutTerminal() { return isatty(STDOUT_FILENO); }
bool g_WaitForInput() {
    // The signal is held back from the look at the flag until the wait has begun, so that it cannot fall in between.
    sigset_t Interrupt, Before;
    sigemptyset(&Interrupt);
    sigaddset(&Interrupt, SIGINT);
    sigprocmask(SIG_BLOCK, &Interrupt, &Before);
    pollfd Input{STDIN_FILENO, POLLIN, 0};
    while (!g_nInterrupted && ppoll(&Input, 1, nullptr, &Before) < 0) continue;
    sigprocmask(SIG_SETMASK, &Before, nullptr);
    return !g_nInterrupted;
}

bool g_WasInterrupted() { return g_nInterrupted; }
void g_SetEnvironment(const char* pszName, const std::string& sValue) { setenv(pszName, sValue.c_str(), 1); }
std::filesystem::path g_ExecutableFolder() { return std::filesystem::read_symlink("/proc/self/exe").parent_path(); }

}  // namespace vxttools
