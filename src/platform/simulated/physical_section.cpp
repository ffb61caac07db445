#include "platform/physical_section.h"

#include "platform/simulated/simulated_system.h"

namespace vxt::platform {

void UnmapPhysicalSection(uintptr_t uAddress) {
    delete[] reinterpret_cast<uint8_t*>(uAddress);  // NOLINT(performance-no-int-to-ptr): handles are numbers
}

CPhysicalView MapPhysicalSection(uint64_t ullPhysical, uint32_t uSize) {
    const simulated::CSystemSide SystemSide;
    constexpr uint64_t kPageSize = 4096;
    simulated::CSimulatedSystem& rSystem = simulated::g_GetSystem();
    if (rSystem.Refuses("MapPhysicalSection") || !rSystem.m_bShowsPhysicalMemory || ullPhysical % kPageSize) return {};
    uint8_t* const pView = new uint8_t[uSize];
    simulated::g_GetMachine().ReadMemory(ullPhysical, {pView, uSize});
    return CPhysicalView(reinterpret_cast<uintptr_t>(pView));
}

}  // namespace vxt::platform
