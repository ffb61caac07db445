// The one change that the watchdog commands make.
#pragma once

#include <functional>
#include <string>

#include "common/change_plan.h"
#include "south_bridge_controls.h"

namespace vxtctl {

/// Starts the timer, or stops it.
vxttools::CChangePlan g_PlanWatchdog(CWatchdogTimer& rTimer, bool bRun, const std::string& sNote);

}  // namespace vxtctl
