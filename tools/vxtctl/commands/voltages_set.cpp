// vxtctl voltages set: one write for each voltage, in their order.
#include "candidates.h"
#include "common/command.h"
#include "firmware_settings.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_VoltagesSet(CTool& rTool, const CWantedSettings& rWanted) {
    const std::vector<CAssignment> Assignments = g_ParseAssignments(rWanted.Words);
    const CHostLibrary Library(rTool.Options());
    return Library.Finish(g_PlanVoltageChanges(Library, Assignments, rWanted.bForce).Run(rTool));
}

}  // namespace

extern constexpr CCommand kVoltagesSet{
    "voltages set", "Change voltages, in V; the names stand in the list",
    "  vxtctl voltages set memory_voltage=1.6 --dry-run",
    g_NewCall<CWantedSettings, kSettingOptions<g_VoltageSettingCandidates>, g_VoltagesSet>};

}  // namespace vxtctl
