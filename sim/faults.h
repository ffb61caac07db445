// Faults on the way to the hardware, planned or seeded. The same layer serves the tests' sweeps and users' --fault.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vxtsim {

enum class EFault {
    kNone,
    kFail,        ///< the call fails
    kZeroLength,  ///< the call succeeds and returns 0 bytes; a write happens
    kWrongCount,  ///< the call succeeds and returns one byte fewer than it should; where that is none, one more
    kDropWrite,   ///< a write is accepted and does not happen
    kAllOnes,     ///< a read of a register or of memory gives all ones
    kDelay,       ///< 50 ms of virtual time pass first
};

/// What a request did that suffered it: "was dropped".
const char* g_FaultOutcome(EFault eFault);

/// Decides for each request in turn. Deterministic: the same plan gives the same faults on every machine.
class CFaultPlan {
public:
    /// Nothing goes wrong.
    CFaultPlan() = default;
    /// The request after `ullGood` good ones suffers `eFault`; everything after it is good again unless `bForever`.
    static CFaultPlan After(uint64_t ullGood, EFault eFault = EFault::kFail, bool bForever = false);
    /// "seed=N,rate=PERCENT,kinds=fail+zero+count+drop+ones+delay": parses a user's text; what is left out is seed 1,
    /// rate 1 and every kind. False with a message naming the wrong word; the plan is then untouched.
    static bool Parse(const std::string& sText, CFaultPlan& rPlan, std::string& rsError);

    /// Every kind that a plan can name, for people: "fail, zero ... or delay".
    static std::string KindNames();

    /// Fault for the next request.
    EFault Next();
    uint64_t Requests() const { return m_ullRequests; }
    uint64_t Injected() const { return m_ullInjected; }

private:
    EFault m_eFault = EFault::kNone;
    uint64_t m_ullGood = 0;
    bool m_bForever = false;
    uint64_t m_ullSeed = 0;
    uint32_t m_uPercent = 0;  ///< 0: not seeded
    std::vector<EFault> m_Kinds;
    uint64_t m_ullRequests = 0, m_ullInjected = 0;
};

}  // namespace vxtsim
