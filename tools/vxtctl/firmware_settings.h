// What the board's firmware tunes: the clock generator's clocks and the voltage controller's voltages.
#pragma once

#include "host_library.h"
#include "setting.h"

namespace vxtctl {

/// The documents of "clocks" and "voltages". They end the command where the firmware offers no such device.
void g_AddClocks(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings);
void g_AddVoltages(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings);

/// One write for each assignment, in their order.
vxttools::CChangePlan g_PlanClockChanges(const CHostLibrary& rLibrary, const std::vector<CAssignment>& rAssignments,
                                         bool bForce);
vxttools::CChangePlan g_PlanVoltageChanges(const CHostLibrary& rLibrary, const std::vector<CAssignment>& rAssignments,
                                           bool bForce);

/// The clocks of a clock generator: external, PCIe, third.
std::vector<CDeviceSetting> g_ClockSettings(const CInventoryEntry& rGenerator);
/// The voltages of a controller, by their numbers. Labels are the firmware's names.
std::vector<CDeviceSetting> g_VoltageSettings(const CInventoryEntry& rController);

}  // namespace vxtctl
