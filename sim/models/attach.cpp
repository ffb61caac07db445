#include "attach.h"

#include <algorithm>

#include "../acpi_layout.h"
#include "../machine.h"
#include "additional_data.h"
#include "fid_vid.h"
#include "link_phy.h"
#include "pm_timer.h"
#include "pstates.h"
#include "smbus_host.h"
#include "thermal.h"
#include "time_stamp_counter.h"

namespace vxtsim {

namespace {

constexpr size_t kPmTimerPort = 76;  ///< in the FADT

/// I/O base of the SMBus host controller: a register of the one known south bridge, else the last I/O range of the
/// first SMBus function. 0: none.
uint16_t g_SmbusBase(const CSimMachine& rMachine) {
    constexpr CPciAddress kSouthBridge{0, 0x14, 0};
    if (rMachine.PciDword(kSouthBridge, 0) == 0x43851002) {
        const uint32_t uBase = rMachine.PciDword(kSouthBridge, 0x90);
        return uBase & 1 ? static_cast<uint16_t>(uBase & 0xFFF0) : uint16_t{0};
    }
    for (const auto& [Address, rFunction] : rMachine.Description().Pci) {
        if (rMachine.PciDword(Address, 8) >> 16 != 0x0C05) continue;
        for (uint32_t uOffset = 0x24; uOffset >= 0x10; uOffset -= 4)
            if (const uint32_t uBar = rMachine.PciDword(Address, uOffset); uBar & 1 && uBar & 0xFFFC)
                return static_cast<uint16_t>(uBar & 0xFFFC);
    }
    return 0;
}

}  // namespace

void g_AttachModels(CSimMachine& rMachine) {
    const auto& rTables = rMachine.Description().Acpi;
    const auto itFadt = std::ranges::find_if(rTables, [](const auto& rTable) { return rTable.first == "FACP"; });
    if (itFadt != rTables.end() && itFadt->second.size() >= kPmTimerPort + 4)
        rMachine.Plug<CPmTimer>(static_cast<uint16_t>(g_AcpiNumber(itFadt->second, kPmTimerPort, 2)));
    if (const uint16_t usBase = g_SmbusBase(rMachine)) rMachine.Plug<CSmbusHost>(usBase);

    const uint32_t uSignature = rMachine.Cpuid(0, 1).uEax;
    const uint32_t uFamily = uSignature >> 8 & 15, uExtendedFamily = uSignature >> 20 & 0xFF;
    const uint32_t uExtendedModel = uSignature >> 16 & 15;
    if (uFamily != 15 || uExtendedFamily > 2) return;
    const bool bK8 = uExtendedFamily == 0, bRevisionF = bK8 && uExtendedModel > 2;
    const CCoreClock* pClock = nullptr;
    if (bK8 && rMachine.HasMsr(0, CFidVid::kStatus)) pClock = &rMachine.Plug<CFidVid>(bRevisionF);
    if (!bK8 && rMachine.HasMsr(0, CPstates::kStatus))
        pClock = &rMachine.Plug<CPstates>(uExtendedFamily == 1 ? 16u : 8u);
    if (pClock) rMachine.Plug<CTimeStampCounter>(*pClock);
    if (bRevisionF) rMachine.Plug<CThermalSelect>();
    if (!bK8 || bRevisionF) rMachine.Plug<CAdditionalData>(bK8 ? 1u : 2u);
    if (!bK8) rMachine.Plug<CReadOnlyTemperature>();
    if (!bK8) rMachine.Plug<CLinkPhy>();
}

}  // namespace vxtsim
