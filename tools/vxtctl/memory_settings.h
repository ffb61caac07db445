// The memory controller: timings and configuration.
#pragma once

#include "host_library.h"
#include "setting.h"

namespace vxtctl {

/// What "memory" shows. Ends the command when the machine has no memory controller that the library knows.
void g_AddMemory(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings);

/// One write for all timings asked for, one for all configuration values.
vxttools::CChangePlan g_PlanMemoryChanges(const CHostLibrary& rLibrary, const std::vector<CAssignment>& rAssignments,
                                          bool bForce);

/// A timing or a value of the configuration.
struct CMemorySetting : CDeviceSetting {
    bool bIsTiming;  ///< of MemTiming, else of MemConfig
    size_t uOffset;  ///< in that record
};
/// All of them, also those that this machine lacks (they are fixed). Ends the command as g_AddMemory does.
std::vector<CMemorySetting> g_MemorySettings(const CHostLibrary& rLibrary);
/// Name, label and unit of what stands there in MemTiming or MemConfig, on whatever machine. The unit is empty where it
/// is not the same on all of them.
CSetting g_DescribeMemorySetting(bool bIsTiming, size_t uOffset);

}  // namespace vxtctl
