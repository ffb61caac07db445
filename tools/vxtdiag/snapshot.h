// The whole machine as a machine file.
#pragma once

#include <string>
#include <vector>

#include "sim/machine_file.h"

namespace vxtdiag {

struct CSnapshot {
    vxtsim::CMachineDescription Machine;
    std::vector<std::string> Findings;  ///< what could not be read
};

/// Reads what a simulated PC needs to show the same devices: CPUID, the family's MSRs on each core, PCI configuration
/// spaces, ACPI tables and the memory modules' SPD. Writes nothing but the read commands themselves.
CSnapshot g_TakeSnapshot();

}  // namespace vxtdiag
