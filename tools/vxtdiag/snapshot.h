// The whole machine as a machine file.
#pragma once

#include "common/findings.h"
#include "sim/machine_file.h"

namespace vxtdiag {

using vxttools::CFindings;

struct CSnapshot {
    vxtsim::CMachineDescription Machine;
    CFindings Findings;
};

/// Reads what a simulated PC needs to show the same devices: CPUID, the family's MSRs on each core, PCI configuration
/// spaces, DRAM controller data, ACPI tables, the memory modules' SPD, sensor chips, the devices of the
/// device tree with what monitors and drives say of themselves, and of the firmware its identity, its objects and its setup items. Writes nothing but the read commands themselves and what reading sensor chips needs (see
/// sensor_chips.h); the firmware is told who asks.
CSnapshot g_TakeSnapshot();

}  // namespace vxtdiag
