#include "platform/system.h"

#include <algorithm>
#include <bit>

#include "platform/clock.h"
#include "platform/mapped_registers.h"
#include "platform/simulated/hang.h"
#include "platform/simulated/simulated_system.h"
#include "platform/thread.h"

namespace vxt::platform {

using simulated::CSimulatedSystem;
using simulated::g_GetMachine;
using simulated::g_GetSystem;

namespace {
thread_local uint32_t t_uCore = 0;
constexpr uint64_t kNanosecondsPerMillisecond = 1'000'000;
constexpr uint64_t kNanosecondsPerIdleUnit = 100;
}  // namespace

uint32_t PlatformId() { return g_GetSystem().m_uPlatformId; }

bool QueryIsWow64(bool& rbIsWow64) {
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("QueryIsWow64") || !rSystem.m_bWow64QueryWorks) return false;
    rbIsWow64 = rSystem.m_bIsWow64;
    return true;
}

uint32_t ProcessorCount() { return g_GetMachine().ProcessorCount(); }

uint32_t ExecutablePath(std::span<wchar_t> Path) {
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::wstring& sPath = rSystem.m_sExecutable;
    if (rSystem.Refuses("ExecutablePath") || sPath.size() >= Path.size()) return 0;
    *std::ranges::copy(sPath, Path.begin()).out = 0;
    return static_cast<uint32_t>(sPath.size());
}

uint32_t ProcessorIdleTimes(std::span<uint64_t> IdleTimes) {
    if (g_GetSystem().Refuses("ProcessorIdleTimes")) return 0;
    const vxtsim::CSimMachine& rMachine = g_GetMachine();
    const auto uCount = std::min(static_cast<uint32_t>(IdleTimes.size()), rMachine.ProcessorCount());
    const double dNow = static_cast<double>(rMachine.Now()) / kNanosecondsPerIdleUnit;
    for (uint32_t uCore = 0; uCore < uCount; ++uCore)
        IdleTimes[uCore] = static_cast<uint64_t>(dNow * (1.0 - rMachine.AverageLoad(uCore)));
    return uCount;
}

void Sleep(uint32_t uMilliseconds) {
    const simulated::CSystemSide SystemSide;
    g_GetMachine().Advance(uMilliseconds * kNanosecondsPerMillisecond);
    simulated::g_EndIfHung();
}

uint32_t TickCount() { return static_cast<uint32_t>(g_GetMachine().Now() / kNanosecondsPerMillisecond); }

bool SetThreadAffinity(uint32_t uMask) {
    const uint32_t uCores = g_GetMachine().ProcessorCount();
    const uint32_t uExisting = uMask & (uCores < 32 ? (1u << uCores) - 1 : ~0u);
    if (g_GetSystem().Refuses("SetThreadAffinity") || uExisting == 0) return false;
    t_uCore = static_cast<uint32_t>(std::countr_zero(uExisting));
    return true;
}

uint32_t simulated::g_CurrentCore() { return t_uCore; }

uint32_t ReadMapped(uint64_t ullAddress) {
    const simulated::CSystemSide SystemSide;
    return g_GetMachine().ReadMapped(ullAddress);
}

void WriteMapped(uint64_t ullAddress, uint32_t uValue) {
    const simulated::CSystemSide SystemSide;
    g_GetMachine().WriteMapped(ullAddress, uValue);
    (void)simulated::g_KeepState();  // a store cannot fail; the run's error tells
}

}  // namespace vxt::platform
