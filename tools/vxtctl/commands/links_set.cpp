// vxtctl links set: one write of the link for all values asked for.
#include "candidates.h"
#include "common/command.h"
#include "common/device_id.h"
#include "link_settings.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted : CWantedSettings {
    std::optional<std::string> oLink;
};
constexpr COption<CWanted> kOptions[] = {
    {"--link", "N", "Which link; 0 when left out", &CWanted::oLink, false, nullptr, g_LinkCandidates},
    kAssignments<CWanted, g_LinkSettingCandidates>,
    kForce<CWanted>,
};

EExit g_LinksSet(CTool& rTool, const CWanted& rWanted) {
    const std::vector<CAssignment> Assignments = g_ParseAssignments(rWanted.Words);
    const std::optional<uint32_t> oLink = g_ParseIndex(rWanted.oLink.value_or("0"), "ht-link/0/link");
    if (!oLink) throw CFailure(EExit::kUsage, "--link " + *rWanted.oLink + ": expected the number of a link");
    const CHostLibrary Library(rTool.Options());
    return Library.Finish(g_PlanLinkChanges(Library, *oLink, Assignments, rWanted.bForce).Run(rTool));
}

}  // namespace

extern constexpr CCommand kLinksSet{"links set", "Change a link's widths or clock (in force after its next reset)",
                                    "  vxtctl links set --link 0 frequency=5 --dry-run",
                                    g_NewCall<CWanted, kOptions, g_LinksSet>};

}  // namespace vxtctl
