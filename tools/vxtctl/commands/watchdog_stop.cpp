// vxtctl watchdog stop: nothing restarts the PC any more.
#include "timed_run.h"
#include "watchdog_change.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_WatchdogStop(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    CWatchdogTimer Timer(Library);
    CChangePlan Plan = g_PlanWatchdog(Timer, false, "");
    return Library.Finish(Plan.Run(rTool, [](CDocument& rDocument, EExit eExit) {
        g_AddRun(rDocument, std::nullopt);
        return eExit;
    }));
}

}  // namespace

extern constexpr CCommand kWatchdogStop{"watchdog stop", "Switch the watchdog timer off",
                                        "  vxtctl watchdog stop --yes", g_NewCall<g_WatchdogStop>};

}  // namespace vxtctl
