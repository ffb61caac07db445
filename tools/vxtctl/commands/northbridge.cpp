// vxtctl northbridge: the chipset's side of the processor's first link.
#include "common/command.h"
#include "north_bridge_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_NorthBridge(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    CFindings Findings;
    g_AddNorthBridge(Document, Library, Findings);
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kNorthBridge{"northbridge", "Show the chipset's side of the link", "  vxtctl northbridge",
                                       g_NewCall<g_NorthBridge>};

}  // namespace vxtctl
