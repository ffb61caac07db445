// vxtctl links set: one write of the link for all values asked for.
#include "candidates.h"
#include "common/command.h"
#include "link_settings.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted : CWantedSettings {
    std::optional<uint32_t> oLink;
};
constexpr COption<CWanted> kOptions[] = {
    {"--link", "N", "Which link; 0 when left out", &CWanted::oLink, false, nullptr, g_LinkCandidates},
    kAssignments<CWanted, g_LinkSettingCandidates>,
    kForce<CWanted>,
};

EExit g_LinksSet(CTool& rTool, const CWanted& rWanted) {
    const std::vector<CAssignment> Assignments = g_ParseAssignments(rWanted.Words);
    const CHostLibrary Library(rTool.Options());
    return g_PlanLinkChanges(Library, rWanted.oLink.value_or(0), Assignments, rWanted.bForce).Run(rTool);
}

}  // namespace

extern constexpr CCommand kLinksSet{"links set", "Change a link's widths or clock (in force after its next reset)",
                                    "  vxtctl links set --link 0 frequency=5 --dry-run",
                                    g_NewCall<CWanted, kOptions, g_LinksSet>};

}  // namespace vxtctl
