// vxtctl watchdog start: the timer runs on when this tool has ended.
#include "timed_run.h"
#include "watchdog_change.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_WatchdogStart(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    CWatchdogTimer Timer(Library);
    CChangePlan Plan = g_PlanWatchdog(Timer, true,
                                      "the PC restarts in " + std::to_string(CWatchdogTimer::kSeconds) +
                                          " s unless 'vxtctl watchdog start' starts it over or 'stop' ends it");
    return Library.Finish(Plan.Run(rTool, [&](CDocument& rDocument, EExit eExit) {
        Timer.Keep();
        g_AddRun(rDocument, std::nullopt);
        return eExit;
    }));
}

}  // namespace

extern constexpr CCommand kWatchdogStart{
    "watchdog start", "Start the watchdog timer, or start it over: mind the PC's restart",
    "  vxtctl watchdog start --dry-run\n  vxtctl watchdog start --yes  again within 30 s: the time begins anew",
    g_NewCall<g_WatchdogStart>};

}  // namespace vxtctl
