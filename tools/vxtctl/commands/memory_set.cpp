// vxtctl memory set: one write for all timings, one for all of the configuration.
#include "candidates.h"
#include "common/command.h"
#include "memory_settings.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_MemorySet(CTool& rTool, const CWantedSettings& rWanted) {
    const std::vector<CAssignment> Assignments = g_ParseAssignments(rWanted.Words);
    const CHostLibrary Library(rTool.Options());
    return Library.Finish(g_PlanMemoryChanges(Library, Assignments, rWanted.bForce).Run(rTool));
}

}  // namespace

extern constexpr CCommand kMemorySet{
    "memory set", "Change timings or configuration",
    "  vxtctl memory set tcl=9 trcd=9 --dry-run\n  vxtctl memory set slow_access=on --yes",
    g_NewCall<CWantedSettings, kSettingOptions<g_MemorySettingCandidates>, g_MemorySet>};

}  // namespace vxtctl
