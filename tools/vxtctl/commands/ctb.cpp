// vxtctl ctb: the firmware's clock calibration.
#include "common/command.h"
#include "south_bridge_controls.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_Ctb(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    vxtapi::CSouthBridge& rBridge = g_FindSouthBridge(Library);
    const bool bSupported = rBridge.IsCTBSupported();
    const CJson Enabled = bSupported ? CJson(rBridge.GetCTBState()) : nullptr;
    CDocument Document = rTool.NewDocument();
    Document["ctb"] = CJson::Array();
    Document["ctb"].Push({{"id", std::string(kSouthBridgePath) + "/ctb"},
                          {"label", "Core Trim Boost"},
                          {"supported", bSupported},
                          {"enabled", Enabled}});
    Document.SetCsv("ctb");
    CTextTable Table{"Clock calibration (Core Trim Boost)", {"", ""}, {{"  Supported", bSupported ? "yes" : "no"}}};
    if (bSupported) Table.Rows.push_back({"  State", Enabled.Flag() ? "on" : "off"});
    Document.AddTable(std::move(Table));
    return Library.Emit(rTool, Document);
}

}  // namespace

extern constexpr CCommand kCtb{"ctb", "Show whether the firmware's clock calibration is on", "  vxtctl ctb",
                               g_NewCall<g_Ctb>};

}  // namespace vxtctl
