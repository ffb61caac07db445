#include "common/guarded_process.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <sstream>
#include <system_error>
#include <thread>

#include "common/child_process.h"
#include "common/console.h"

namespace vxttools {
namespace {

constexpr const char* kMark = "--guarded";
constexpr const char* kGreeting = "vxt-terminal";
/// Whoever ends a process by force may choose its exit code on some systems: few choose one above this.
constexpr int kOwnEnd = 64;
bool g_bGuarded = false;

std::string g_ToLine(const CTerminal& rTerminal) {
    std::ostringstream Line;
    Line << kGreeting << ' ' << rTerminal.bStdin << ' ' << rTerminal.bObedient << ' '
         << rTerminal.oStdoutColumns.value_or(0) << ' ' << rTerminal.oStderrColumns.value_or(0) << '\n';
    return Line.str();
}

std::optional<CTerminal> g_FromLine(const std::string& sLine) {
    std::istringstream Line(sLine);
    std::string sGreeting;
    CTerminal Terminal{};
    size_t uOut = 0, uErrors = 0;
    if (!(Line >> sGreeting >> Terminal.bStdin >> Terminal.bObedient >> uOut >> uErrors) || sGreeting != kGreeting)
        return std::nullopt;
    if (uOut) Terminal.oStdoutColumns = uOut;
    if (uErrors) Terminal.oStderrColumns = uErrors;
    return Terminal;
}

/// What comes in goes to the child. Its thread may outlive everything else: a read of a terminal cannot be ended.
void g_PassInput(std::shared_ptr<CChildProcess> pChild) {
    std::thread([pChild = std::move(pChild)] {
        for (std::string sData = g_ReadInput(); !sData.empty() && pChild->Send(sData);) sData = g_ReadInput();
        pChild->CloseInput();
    }).detach();
}

/// What the child writes goes to the stream. A reader that went away must not stop the child.
std::thread g_PassOutput(CChildProcess& rChild, std::string (CChildProcess::*pRead)(), std::FILE* pStream,
                         std::atomic<int>& rEnded) {
    return std::thread([&rChild, pRead, pStream, &rEnded] {
        for (std::string sData = (rChild.*pRead)(); !sData.empty(); sData = (rChild.*pRead)()) {
            std::fwrite(sData.data(), 1, sData.size(), pStream);
            std::fflush(pStream);
        }
        ++rEnded;
    });
}

}  // namespace

bool g_IsGuarded() { return g_bGuarded; }
int g_OwnExit(int nExit) { return g_bGuarded ? nExit + kOwnEnd : nExit; }

void g_EnterGuard(std::vector<std::string>& rArguments) {
    if (rArguments.empty() || rArguments.front() != kMark) return;
    std::string sLine;
    const auto oTerminal = !g_IsStdinTerminal() && g_ReadLine(sLine) ? g_FromLine(sLine) : std::nullopt;
    if (!oTerminal) throw CFailure(EExit::kUsage, std::string("unknown option '") + kMark + "'");
    rArguments.erase(rArguments.begin());
    g_BorrowTerminal(*oTerminal);
    g_bGuarded = true;
}

EExit g_RunGuarded(const CTool& rTool, const std::string& sKilled) {
    std::vector<std::string> Arguments{kMark};
    for (const std::string& rsArgument : rTool.Options().Arguments) Arguments.push_back(rsArgument);
    std::shared_ptr<CChildProcess> pChild;
    try {
        pChild = std::make_shared<CChildProcess>(Arguments);
    } catch (const std::system_error& rError) {
        throw CFailure(EExit::kFailed,
                       "cannot start a second process: " + rError.code().message() + "; nothing was written");
    }
    pChild->Send(g_ToLine(g_OwnTerminal()));
    g_PassInput(pChild);
    std::atomic<int> nEnded = 0;
    std::thread Output = g_PassOutput(*pChild, &CChildProcess::ReadOutput, stdout, nEnded),
                Errors = g_PassOutput(*pChild, &CChildProcess::ReadErrors, stderr, nEnded);
    constexpr std::chrono::milliseconds kLook{20};
    while (nEnded < 2 && g_Pause(kLook)) continue;
    if (nEnded < 2) pChild->CloseInput();
    Output.join();
    Errors.join();
    const std::optional<int> oCode = pChild->Wait();
    const auto IsMeant = [&](const CExitMeaning& r) { return oCode == static_cast<int>(r.eExit) + kOwnEnd; };
    const auto pMeaning = std::ranges::find_if(kExitMeanings, IsMeant);
    if (pMeaning == std::end(kExitMeanings)) throw CFailure(EExit::kFailed, sKilled);
    return pMeaning->eExit;
}

EReply g_AwaitLine(std::chrono::seconds Longest, std::string& rsLine, const std::function<void(long long)>& Tell) {
    struct CShared {
        std::mutex Mutex;
        std::condition_variable Come;
        std::optional<bool> oRead = std::nullopt;
        std::string sLine = {};
    };
    const auto pShared = std::make_shared<CShared>();  // the thread may wait for ever
    std::thread([pShared] {
        std::string sLine;
        const bool bRead = g_ReadLine(sLine);
        const std::scoped_lock Lock(pShared->Mutex);
        pShared->sLine = sLine;
        pShared->oRead = bRead;
        pShared->Come.notify_one();
    }).detach();

    using CClock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kLook{100};  // for signals
    const auto End = CClock::now() + Longest;
    long long llTold = -1;
    std::unique_lock Lock(pShared->Mutex);
    while (!pShared->oRead) {
        const auto Left = End - CClock::now();
        if (g_WasInterrupted()) return EReply::kInterrupted;
        if (Left <= CClock::duration::zero()) return EReply::kTimedOut;
        const long long llSeconds = std::chrono::ceil<std::chrono::seconds>(Left).count();
        if (std::exchange(llTold, llSeconds) != llSeconds) Tell(llSeconds);
        pShared->Come.wait_for(Lock, std::min<CClock::duration>(Left, kLook));
    }
    rsLine = pShared->sLine;
    return *pShared->oRead ? EReply::kLine : EReply::kEnded;
}

}  // namespace vxttools
