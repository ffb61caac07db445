// vxtctl clocks set: one write for each clock, in their order.
#include "candidates.h"
#include "common/command.h"
#include "firmware_settings.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_ClocksSet(CTool& rTool, const CWantedSettings& rWanted) {
    const std::vector<CAssignment> Assignments = g_ParseAssignments(rWanted.Words);
    const CHostLibrary Library(rTool.Options());
    return Library.Finish(g_PlanClockChanges(Library, Assignments, rWanted.bForce).Run(rTool));
}

}  // namespace

extern constexpr CCommand kClocksSet{
    "clocks set", "Change clocks, in MHz",
    "  vxtctl clocks set external=205 --dry-run\n  vxtctl clocks set external=205 pcie=101 --yes",
    g_NewCall<CWantedSettings, kSettingOptions<g_ClockSettingCandidates>, g_ClocksSet>};

}  // namespace vxtctl
