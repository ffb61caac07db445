// vxtctl clocks: what the firmware tunes of the clock generator.
#include "common/command.h"
#include "firmware_settings.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_Clocks(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    CFindings Findings;
    g_AddClocks(Document, Library, Findings);
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kClocks{"clocks", "Show the clock generator's clocks with their legal values",
                                  "  vxtctl clocks\n  vxtctl clocks --json", g_NewCall<g_Clocks>};

}  // namespace vxtctl
