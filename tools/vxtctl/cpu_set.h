// Changing a core's multiplier, voltage or P-state.
#pragma once

#include "common/change_plan.h"
#include "host_library.h"

namespace vxtctl {

/// As the command line has it.
struct CCpuRequest {
    std::string sCore = "all";
    std::optional<double> oMultiplier, oVoltage;
    std::optional<uint32_t> oPstate;

    /// Ends the command when the request makes no sense on any machine.
    void Check() const;
};

/// What has to be done to every core asked for, in an order that is safe. Ends the command when a request makes no
/// sense.
vxttools::CChangePlan g_PlanCpuChanges(const CHostLibrary& rLibrary, const CCpuRequest& rRequest);

}  // namespace vxtctl
