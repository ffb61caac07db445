// The one sweep: an operation with its n-th request, system call or allocation failing, and the rules that hold then.
#pragma once

#include <functional>
#include <string>

#include "support/simulated_pc.h"

namespace vxttest {

/// An operation, and what differs from the rules with the reason beside it. Texts are regular expressions.
struct COperation {
    std::string sName;                   ///< as logged: in the last line of a failure
    std::function<bool()> Run;           ///< true: it did its work; takes no memory of its own
    std::function<void()> Arrange = {};  ///< before each run
    std::string sSurvives = {};          ///< last line of a failure that it survives
    std::string sStillWrites = {};       ///< writes that follow a failure
    bool bKeeps = false;                 ///< a failed run may keep handles or mappings until Arrange
    bool bMayBeSilent = false;           ///< some failures are answers (an absent thing): no line
};

/// Rules: the failure value comes back, the last line of the log names the operation, nothing is written to hardware
/// after the failure, no handle and no mapping stays, and the next run works.
class CSweep : public CSimulatedPc {
protected:
    void Sweep(const COperation& rOperation);

    /// Last line of a single failure that a second way makes good: a request in place of the configuration window,
    /// and, without a word, the driver's older request in place of the newer.
    std::string m_sSecondWay = "in CDriverHandler::(Read|Write)Memory$";

private:
    enum class EFault { kCall, kDeadDriver, kAllocation };
    struct COutcome {
        bool bResult, bFailed;
        size_t uTraceAtFailure;
    };
    COutcome _Run(const COperation& rOperation, EFault eFault, uint64_t ullGood);
    void _Check(const COperation& rOperation, EFault eFault, const COutcome& rOutcome);
    /// Handles, mappings, allocations and taken mutexes of the simulated system.
    std::vector<size_t> _Held();
};

}  // namespace vxttest
