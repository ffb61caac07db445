// The cores: identification, readings, P-state definitions.
#pragma once

#include "common/findings.h"
#include "host_library.h"

namespace vxtctl {

/// All cores, or the one with that number. Ends the command when there is none.
std::vector<CInventoryEntry> g_SelectCores(const CHostLibrary& rLibrary, std::optional<uint32_t> oCore);

/// Reads the cores into the array "cores". What could not be read is added to the findings.
void g_AddCores(vxttools::CDocument& rDocument, const std::vector<CInventoryEntry>& rCores,
                vxttools::CFindings& rFindings);
std::string g_BoostText(const vxttools::CJson& rBoost);
/// Why readings are missing, as tables.
void g_AddReasonTables(vxttools::CDocument& rDocument);
/// The P-states as tables.
void g_AddPstateTables(vxttools::CDocument& rDocument);
/// One row per core, and the P-states.
void g_AddCoreOverview(vxttools::CDocument& rDocument);

/// The readings that settings are checked by.
std::optional<double> g_ReadMultiplier(vxtapi::CCPU& rCpu);
std::optional<double> g_ReadVoltage(vxtapi::CCPU& rCpu);
// Nothing when the processor has no such thing, too.
std::optional<double> g_ReadNbVoltage(vxtapi::CCPU& rCpu);
std::optional<double> g_ReadCurrentPstate(vxtapi::CCPU& rCpu);

}  // namespace vxtctl
