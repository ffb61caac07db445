#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "common/child_process.h"

namespace vxttools {
namespace {

int g_Checked(int nResult) {
    if (nResult < 0) throw std::system_error(errno, std::generic_category());
    return nResult;
}

/// Both ends of a pipe, gone on exec; what is taken out belongs to who took it.
class CPipe {
public:
    CPipe() { g_Checked(pipe2(m_anEnds.data(), O_CLOEXEC)); }
    CPipe(const CPipe&) = delete;
    ~CPipe() {
        for (const int nEnd : m_anEnds)
            if (nEnd >= 0) close(nEnd);
    }
    int Get(size_t uEnd) const { return m_anEnds[uEnd]; }
    int Take(size_t uEnd) { return std::exchange(m_anEnds[uEnd], -1); }

private:
    std::array<int, 2> m_anEnds{-1, -1};
};

constexpr size_t kRead = 0, kWrite = 1;
constexpr int kNotStarted = 127;  ///< as shells tell it; no tool ends so

/// Between fork and exec: nothing but system calls.
[[noreturn]] void g_Become(char* const* ppszArguments, const std::array<int, 3>& rStreams) {
    setsid();
    for (const int nSignal : {SIGINT, SIGHUP}) signal(nSignal, SIG_IGN);  // exec keeps that
    for (int i = 0; i < 3; ++i) dup2(rStreams[static_cast<size_t>(i)], i);
    execv("/proc/self/exe", ppszArguments);
    _exit(kNotStarted);
}

}  // namespace

CChildProcess::CChildProcess(const std::vector<std::string>& rArguments) {
    std::vector<std::string> Arguments = rArguments;
    std::vector<char*> Pointers{const_cast<char*>("vxt")};
    for (std::string& rsArgument : Arguments) Pointers.push_back(rsArgument.data());
    Pointers.push_back(nullptr);
    CPipe Input, Output, Errors;
    g_Checked(fcntl(Errors.Get(kWrite), F_SETFL, O_NONBLOCK));
    const pid_t nChild = g_Checked(fork());
    if (nChild == 0) g_Become(Pointers.data(), {Input.Get(kRead), Output.Get(kWrite), Errors.Get(kWrite)});
    m_nProcess = nChild;
    m_nInput = Input.Take(kWrite);
    m_nOutput = Output.Take(kRead);
    m_nErrors = Errors.Take(kRead);
}

void CChildProcess::_Close(intptr_t nPipe) { close(static_cast<int>(nPipe)); }

bool CChildProcess::_Write(std::string_view sData) const {
    while (!sData.empty()) {
        const ssize_t nWritten = write(static_cast<int>(m_nInput), sData.data(), sData.size());
        if (nWritten < 0 && errno == EINTR) continue;
        if (nWritten < 0) return false;
        sData.remove_prefix(static_cast<size_t>(nWritten));
    }
    return true;
}

std::string CChildProcess::_Read(intptr_t nPipe) const {
    std::string sData(4096, '\0');
    ssize_t nRead = 0;
    do nRead = read(static_cast<int>(nPipe), sData.data(), sData.size());
    while (nRead < 0 && errno == EINTR);
    sData.resize(nRead > 0 ? static_cast<size_t>(nRead) : 0);
    return sData;
}

std::optional<int> CChildProcess::Wait() {
    int nStatus = 0;
    while (waitpid(static_cast<pid_t>(m_nProcess), &nStatus, 0) < 0)
        if (errno != EINTR) return std::nullopt;
    return WIFEXITED(nStatus) ? std::optional(WEXITSTATUS(nStatus)) : std::nullopt;
}

}  // namespace vxttools
