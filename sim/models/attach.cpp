#include "attach.h"

#include <algorithm>

#include "../acpi_layout.h"
#include "../machine.h"
#include "additional_data.h"
#include "display_driver.h"
#include "fid_vid.h"
#include "link_phy.h"
#include "pm_timer.h"
#include "port_pairs.h"
#include "pstates.h"
#include "silicon.h"
#include "smbus_host.h"
#include "south_bridge_monitor.h"
#include "super_io.h"
#include "thermal.h"
#include "time_stamp_counter.h"

namespace vxtsim {

namespace {

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

/// Port of the power-management timer; 0 when no FADT names one.
uint16_t g_PmTimerPort(const CSimMachine& rMachine) {
    constexpr size_t kPort = 76;
    const auto& rTables = rMachine.Description().Acpi;
    const auto itFadt = std::ranges::find_if(rTables, [](const auto& rTable) { return rTable.first == "FACP"; });
    const bool bNamed = itFadt != rTables.end() && itFadt->second.size() >= kPort + 4;
    return bNamed ? static_cast<uint16_t>(g_AcpiNumber(itFadt->second, kPort, 2)) : uint16_t{0};
}

enum class EFamily { kOther, kK8, kK8RevisionF, k10h, k11h };

EFamily g_FamilyOf(const CSimMachine& rMachine) {
    const uint32_t uSignature = rMachine.Cpuid(0, 1).uEax;
    if ((uSignature >> 8 & 15) != 15) return EFamily::kOther;
    switch (uSignature >> 20 & 0xFF) {
        case 0:
            return (uSignature >> 16 & 15) > 2 ? EFamily::kK8RevisionF : EFamily::kK8;
        case 1:
            return EFamily::k10h;
        case 2:
            return EFamily::k11h;
        default:
            return EFamily::kOther;
    }
}
bool g_IsK8(const CSimMachine& rMachine) {
    const EFamily eFamily = g_FamilyOf(rMachine);
    return eFamily == EFamily::kK8 || eFamily == EFamily::kK8RevisionF;
}
bool g_IsRevisionF(const CSimMachine& rMachine) { return g_FamilyOf(rMachine) == EFamily::kK8RevisionF; }
bool g_IsLater(const CSimMachine& rMachine) {
    const EFamily eFamily = g_FamilyOf(rMachine);
    return eFamily == EFamily::k10h || eFamily == EFamily::k11h;
}

void g_PlugIndexPorts(CSimMachine& rMachine) {
    const CMonitorLayout* const pBridgeMonitor = g_FindBridgeMonitor(rMachine.Description());
    for (const auto& [usPort, rRegisters] : rMachine.Description().IndexPorts)
        if (pBridgeMonitor && usPort == kBridgeMonitorPort)
            rMachine.Plug<CSouthBridgeMonitor>(*pBridgeMonitor);
        else if (pBridgeMonitor && usPort == kBridgePowerPort)
            rMachine.Plug<CSouthBridgePower>();
        else
            rMachine.Plug<CPortPairs>(usPort);
}

/// A model and what of a machine file asks for it. Plugged in this order.
struct CModelRow {
    bool (*pIsDeclared)(const CSimMachine& rMachine);
    void (*pPlug)(CSimMachine& rMachine);
};

constexpr CModelRow kModels[] = {
    {[](const CSimMachine& r) { return g_PmTimerPort(r) != 0; },
     [](CSimMachine& r) { r.Plug<CPmTimer>(g_PmTimerPort(r)); }},
    {[](const CSimMachine& r) { return g_SmbusBase(r) != 0; },
     [](CSimMachine& r) { r.Plug<CSmbusHost>(g_SmbusBase(r)); }},
    {[](const CSimMachine& r) { return g_IsK8(r) && r.HasMsr(0, CFidVid::kStatus); },
     [](CSimMachine& r) { r.Plug<CFidVid>(g_IsRevisionF(r)); }},
    {[](const CSimMachine& r) { return g_IsLater(r) && r.HasMsr(0, CPstates::kStatus); },
     [](CSimMachine& r) { r.Plug<CPstates>(g_FamilyOf(r) == EFamily::k10h ? 16u : 8u); }},
    {[](const CSimMachine& r) { return r.Model<CCoreClock>() != nullptr; },
     [](CSimMachine& r) { r.Plug<CTimeStampCounter>(*r.Model<CCoreClock>()); }},
    {[](const CSimMachine& r) { return CSilicon::IsDescribed(r.Description()) && r.Model<CCoreClock>() != nullptr; },
     [](CSimMachine& r) { r.Plug<CSilicon>(*r.Model<CCoreClock>()); }},
    {g_IsRevisionF, [](CSimMachine& r) { r.Plug<CThermalSelect>(); }},
    {g_IsRevisionF, [](CSimMachine& r) { r.Plug<CAdditionalData>(1u); }},
    {g_IsLater, [](CSimMachine& r) { r.Plug<CAdditionalData>(2u); }},
    {g_IsLater, [](CSimMachine& r) { r.Plug<CReadOnlyTemperature>(); }},
    {g_IsLater, [](CSimMachine& r) { r.Plug<CLinkPhy>(); }},
    {[](const CSimMachine& r) { return !r.Description().Displays.empty(); },
     [](CSimMachine& r) { r.Plug<CDisplayDriver>(); }},
    // Behind the cores' clock, which warms sensors.
    {[](const CSimMachine& r) { return !r.Description().IndexPorts.empty(); }, g_PlugIndexPorts},
    {[](const CSimMachine& r) { return !r.Description().SuperIo.empty(); },
     [](CSimMachine& r) {
         for (const auto& [Part, rRegisters] : r.Description().SuperIo)
             if (const auto* const pChip = g_FindSuperIoChip(r.Description(), Part.usPort);
                 pChip && Part == CSuperIoPart{Part.usPort})
                 r.Plug<CSuperIo>(Part.usPort, *pChip);
     }},
};

}  // namespace

void g_AttachModels(CSimMachine& rMachine) {
    for (const auto& [pIsDeclared, pPlug] : kModels)
        if (pIsDeclared(rMachine)) pPlug(rMachine);
}

}  // namespace vxtsim
