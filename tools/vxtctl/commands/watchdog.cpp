// vxtctl watchdog: which timer there is.
#include "common/command.h"
#include "common/text.h"
#include "south_bridge_controls.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_Watchdog(CTool& rTool) {
    constexpr const char* kNotTold = "the library cannot read whether it runs";
    const CHostLibrary Library(rTool.Options());
    const CWatchdogTimer Timer(Library);
    const std::string sPath = std::string(kSouthBridgePath) + "/watchdog",
                      sChip = g_Utf8(g_FindSouthBridge(Library).GetModel());
    CDocument Document = rTool.NewDocument();
    Document["watchdog"] = CJson::Array();
    Document["watchdog"].Push({{"id", sPath},
                               {"label", "Watchdog timer"},
                               {"chip", sChip},
                               {"seconds", CWatchdogTimer::kSeconds},
                               {"runs", nullptr},
                               {"reason", kNotTold}});
    Document.SetCsv("watchdog");
    Document.AddTable({"Watchdog timer of the " + sChip,
                       {"", ""},
                       {{"  Restarts the PC after", std::to_string(CWatchdogTimer::kSeconds) + " s"},
                        {"  Runs", std::string("not told: ") + kNotTold}}});
    return Library.Emit(rTool, Document);
}

}  // namespace

extern constexpr CCommand kWatchdog{"watchdog", "Show the chipset's watchdog timer",
                                    "  vxtctl watchdog\n  vxtctl watchdog --json", g_NewCall<g_Watchdog>};

}  // namespace vxtctl
