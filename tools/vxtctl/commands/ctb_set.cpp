// vxtctl ctb set: the firmware's clock calibration on or off.
#include "common/change_plan.h"
#include "south_bridge_controls.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oState;
};
constexpr COption<CWanted> kOptions[] = {{"STATE", "on|off", "What it is to be", &CWanted::oState, true}};

EExit g_CtbSet(CTool& rTool, const CWanted& rWanted) {
    const bool bOn = rWanted.oState == "on";
    const CHostLibrary Library(rTool.Options());
    vxtapi::CSouthBridge& rBridge = g_FindSouthBridge(Library);
    if (!rBridge.IsCTBSupported())
        throw CFailure(EExit::kNoSuchDevice, "this machine's firmware has no setup item 'Core Trim Boost'");
    CChangePlan Plan;
    Plan.Add({.sId = std::string(kSouthBridgePath) + "/ctb",
              .sOwner = "firmware",
              .sLabel = "Core Trim Boost",
              .sUnit = "",
              .dWanted = bOn ? 1.0 : 0.0,
              .dTolerance = 0,
              .sLegal = "off on",
              .Legal = {0, 1},
              .Limits = {0, 1},
              .Read = [&rBridge]() -> std::optional<double> { return rBridge.GetCTBState(); },
              .Write = [&rBridge, bOn] { return rBridge.SetCTBState(bOn); },
              .Restore = [&rBridge](double d) { return rBridge.SetCTBState(d != 0); },
              .Text = [](double d) { return d != 0 ? "on" : "off"; },
              .sNote = "in force with the PC's next start",
              .sDoubt = "was not taken over by the firmware"});
    return Library.Finish(Plan.Run(rTool));
}

}  // namespace

extern constexpr CCommand kCtbSet{"ctb set", "Switch the firmware's clock calibration on or off",
                                  "  vxtctl ctb set on --dry-run", g_NewCall<CWanted, kOptions, g_CtbSet>};

}  // namespace vxtctl
