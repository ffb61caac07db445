// A driver that stops answering in the middle of an operation.
#pragma once

#include "support/simulated_pc.h"

namespace vxttest {

/// Runs `Operation` with a driver that answers 0, 1, 2 ... requests and then nothing any more, until it succeeds;
/// `Check` runs after each failure with the number of good requests. Returns the number of requests of a good run.
template <class TOperation, class TCheck>
uint64_t g_WithDyingDriver(CSimulatedPc& rPc, TOperation Operation, TCheck Check) {
    for (uint64_t ullGood = 0; ullGood < 1'000; ++ullGood) {
        SCOPED_TRACE("dead after " + std::to_string(ullGood) + " requests");
        vxtsim::CFaultPlan& rFaults = rPc.System().m_RequestFaults;
        rFaults = vxtsim::CFaultPlan::After(ullGood, vxtsim::EFault::kFail, true);
        const bool bResult = Operation();
        const bool bReached = rFaults.Injected() != 0;
        rFaults = {};
        EXPECT_EQ(bResult, !bReached);
        if (!bReached) return ullGood;
        Check(ullGood);
    }
    ADD_FAILURE() << "the operation never succeeds";
    return 0;
}

}  // namespace vxttest
