#include "platform/silicon.h"

#include "platform/clock.h"
#include "platform/simulated/computing.h"
#include "platform/simulated/simulated_system.h"

namespace vxt::platform {

using simulated::g_GetComputing;
using simulated::g_GetMachine;

uint64_t SiliconFault() { return g_GetMachine().Miscompute(simulated::g_CurrentCore()); }

void BeginComputing() { g_GetComputing().Begin(); }

void EndComputing() { g_GetComputing().End(); }

void FoundError() { g_GetComputing().FoundError(); }

bool SiliconMayErr() { return g_GetMachine().Description().uMaxCoreClock != 0; }

void SleepWhileComputing(uint32_t uMilliseconds) {
    const simulated::CSystemSide SystemSide;
    g_GetComputing().Sleep(uMilliseconds, [uMilliseconds] {
        const uint64_t ullDue = g_GetMachine().ErrorsDue();
        Sleep(uMilliseconds);
        return g_GetMachine().ErrorsDue() != ullDue;
    });
}

}  // namespace vxt::platform
