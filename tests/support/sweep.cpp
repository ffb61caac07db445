#include "support/sweep.h"

#include <algorithm>
#include <regex>

#include "support/allocations.h"

namespace vxttest {

namespace {

/// Which of `ullCount` places to fail: all of them, or where they are very many (a timer that is polled) the first, the
/// last and some between.
std::vector<uint64_t> g_Places(uint64_t ullCount) {
    constexpr uint64_t kAll = 1000, kEnds = 3, kBetween = 2;
    std::vector<uint64_t> Places;
    for (uint64_t i = 0; i < ullCount; ++i)
        if (ullCount <= kAll || i < kEnds || i + kEnds >= ullCount || i % (ullCount / kBetween) == 0)
            Places.push_back(i);
    return Places;
}

bool g_Matches(const std::string& sText, const std::string& sPattern) {
    return !sPattern.empty() && std::regex_search(sText, std::regex(sPattern));
}

bool g_IsWrite(const std::string& sLine) {
    const std::string sVerb = sLine.substr(0, sLine.find(' '));
    return sVerb == "wrmsr" || sVerb == "memwr" || sVerb == "pciwr" || sVerb == "out";
}

}  // namespace

std::vector<size_t> CSweep::_Held() {
    const auto Taken =
        std::ranges::count_if(System().m_Mutexes, [](const auto& rMutex) { return rMutex.second.uTaken; });
    return {System().m_Handles.size(), Machine().MappingCount(), System().m_Server.AllocationCount(),
            static_cast<size_t>(Taken)};
}

CSweep::COutcome CSweep::_Run(const COperation& rOperation, EFault eFault, uint64_t ullGood) {
    if (rOperation.Arrange) rOperation.Arrange();
    TakeTrace(), m_Log.Take();
    COutcome Outcome{};
    vxtsim::CFaultPlan& rRequests = System().m_RequestFaults;
    CAllocationFault Memory(eFault == EFault::kAllocation ? ullGood : CAllocationFault::kNever,
                            [&] { Outcome.uTraceAtFailure = TraceSize(); });
    if (eFault == EFault::kCall) System().FailAfter(ullGood);
    if (eFault == EFault::kDeadDriver) rRequests = vxtsim::CFaultPlan::After(ullGood, vxtsim::EFault::kFail, true);
    Outcome.bResult = rOperation.Run();
    Memory.Stop();
    System().StopFailing();
    Outcome.bFailed = eFault == EFault::kCall         ? System().HasFailed()
                      : eFault == EFault::kDeadDriver ? rRequests.Injected() != 0
                                                      : Memory.HasFailed();
    if (eFault == EFault::kCall) Outcome.uTraceAtFailure = ullGood;
    if (eFault == EFault::kDeadDriver) Outcome.uTraceAtFailure = TraceSize();  // nothing reaches the hardware any more
    rRequests = {};
    return Outcome;
}

void CSweep::_Check(const COperation& rOperation, EFault eFault, const COutcome& rOutcome) {
    const Lines Errors = m_Log.TakeErrors(), Trace = TakeTrace();
    const std::string sLast = Errors.empty() ? "" : Errors.back();
    if (rOutcome.bResult) {
        EXPECT_TRUE(g_Matches(sLast, rOperation.sSurvives) ||
                    (eFault != EFault::kDeadDriver && g_Matches(sLast, m_sSecondWay)))
            << "succeeded although: " << sLast;
        return;
    }
    EXPECT_TRUE(g_Matches(sLast, "in (" + rOperation.sName + ")$") || (sLast.empty() && rOperation.bMayBeSilent))
        << "last line: " << sLast;
    for (size_t i = rOutcome.uTraceAtFailure; i < Trace.size(); ++i) {
        EXPECT_TRUE(!g_IsWrite(Trace[i]) || g_Matches(Trace[i], rOperation.sStillWrites))
            << "written after the failure: " << Trace[i];
    }
}

void CSweep::Sweep(const COperation& rOperation) {
    SCOPED_TRACE(rOperation.sName);
    if (rOperation.Arrange) rOperation.Arrange();
    const std::vector<size_t> Held = _Held();
    for (const EFault eFault : {EFault::kCall, EFault::kDeadDriver, EFault::kAllocation}) {
        const auto Count = [&]() -> uint64_t {
            if (rOperation.Arrange) rOperation.Arrange();
            TakeTrace();
            CAllocationFault Memory;
            EXPECT_TRUE(rOperation.Run());
            Memory.Stop();
            const Lines Trace = TakeTrace();
            if (eFault == EFault::kAllocation) return Memory.Counted();
            if (eFault == EFault::kCall) return Trace.size();
            return static_cast<uint64_t>(
                std::ranges::count_if(Trace, [](const std::string& s) { return s[0] >= 'a' && s[0] <= 'z'; }));
        };
        for (const uint64_t ullGood : g_Places(Count())) {
            const char* const apszFaults[] = {"call", "every request from number", "allocation"};
            SCOPED_TRACE(apszFaults[static_cast<int>(eFault)] + std::string(" ") + std::to_string(ullGood) + " fails");
            const COutcome Outcome = _Run(rOperation, eFault, ullGood);
            EXPECT_TRUE(Outcome.bFailed);
            if (!Outcome.bResult && !rOperation.bKeeps) { EXPECT_EQ(_Held(), Held); }
            _Check(rOperation, eFault, Outcome);
            if (rOperation.Arrange) rOperation.Arrange();
            EXPECT_EQ(_Held(), Held) << "not given back";
            EXPECT_TRUE(rOperation.Run()) << "the next run";
            if (HasFailure()) return;  // one place is enough to look at
        }
    }
    if (rOperation.Arrange) rOperation.Arrange();
}

}  // namespace vxttest
