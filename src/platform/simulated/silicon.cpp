#include "platform/silicon.h"

#include "platform/simulated/simulated_system.h"

namespace vxt::platform {

uint64_t SiliconFault() { return simulated::g_GetMachine().Miscompute(simulated::g_CurrentCore()); }

void BeginComputing() {}

void EndComputing() {}

bool SiliconMayErr() { return simulated::g_GetMachine().Description().uMaxCoreClock != 0; }

}  // namespace vxt::platform
