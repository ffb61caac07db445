#include "watchdog_change.h"

namespace vxtctl {

vxttools::CChangePlan g_PlanWatchdog(CWatchdogTimer& rTimer, bool bRun, const std::string& sNote) {
    vxttools::CChangePlan Plan;
    Plan.Add({.sId = std::string(kSouthBridgePath) + "/watchdog",
              .sOwner = "south bridge",
              .sLabel = "Watchdog timer",
              .sUnit = "",
              .dWanted = bRun ? 1.0 : 0.0,
              .dTolerance = 0,
              .sLegal = "off on",
              .Legal = {0, 1},
              .Limits = {0, 1},
              .Write = [&rTimer, bRun] { return bRun ? rTimer.Start() : rTimer.Stop(); },
              .Text = [](double d) { return d != 0 ? "on" : "off"; },
              .sNote = sNote,
              .sDoubt = "the firmware may have given the timer no place in memory; --log tells more"});
    return Plan;
}

}  // namespace vxtctl
