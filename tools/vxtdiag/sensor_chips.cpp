#include "sensor_chips.h"

#include <algorithm>
#include <cmath>

#include "common/text.h"
#include "hw/port_pair.h"
#include "sim/models/monitor_layouts.h"

namespace vxtdiag {

using vxtsim::CSuperIoChip;
using vxtsim::CSuperIoPart;
using vxttools::g_Hex;

namespace {

constexpr uint8_t kControl = 0x02, kLeaveBit = 1 << 1, kLogicalDevice = 0x07, kId = 0x20;
constexpr uint8_t kActive = 0x30, kBaseHigh = 0x60, kBaseLow = 0x61;
constexpr uint16_t kBaseMask = 0xFFF8, kMonitorOffset = 5;
constexpr size_t kRegisters = 256;

vxt::CPortPair g_Pair(uint16_t usPort) { return {vxt::g_GetDriverHandler(), usPort}; }

bool g_IsAllOnes(const std::vector<uint8_t>& rData) {
    return std::ranges::all_of(rData, [](uint8_t ucByte) { return ucByte == 0xFF; });
}

/// Registers from `uFirst` to before `uEnd`, at their places. False, with a finding, when one cannot be read.
bool g_ReadRegisters(uint16_t usPort, size_t uFirst, size_t uEnd, std::vector<uint8_t>& rData, CSnapshot& rSnapshot) {
    rData.assign(uEnd, 0);
    for (size_t i = uFirst; i < uEnd; ++i)
        if (!g_Pair(usPort).Read(static_cast<uint8_t>(i), rData[i])) {
            rSnapshot.Findings.push_back("register " + g_Hex(static_cast<uint32_t>(i), 2) + " behind port " +
                                         g_Hex(usPort, 4) + " cannot be read");
            return false;
        }
    return true;
}

/// All registers of a pair whose index port can be read, and keeps its index. False when nobody answers.
bool g_ReadPair(uint16_t usPort, std::vector<uint8_t>& rData, CSnapshot& rSnapshot) {
    uint8_t ucIndex = 0;
    const bool bIndex = vxt::g_GetDriverHandler().ReadPort(usPort, ucIndex);
    const bool bRead = g_ReadRegisters(usPort, 0, kRegisters, rData, rSnapshot);
    if (bIndex) g_Pair(usPort).Select(ucIndex);
    return bRead && !g_IsAllOnes(rData);
}

/// Fans whose tachometers turn now.
void g_AddFans(uint16_t usPort, const vxtsim::CMonitorLayout& rLayout, const std::vector<uint8_t>& rRegisters,
               CSnapshot& rSnapshot) {
    constexpr uint32_t kSlowest = 100, kFastest = 30'000;
    for (uint8_t ucFan = 0; ucFan < rLayout.ucFans; ++ucFan) {
        const uint32_t uStopped = rLayout.pStopped(rRegisters, ucFan);
        const uint32_t uHigh = uStopped > 0xFF ? rRegisters[rLayout.Tachometer.High(ucFan)] : 0;
        const uint32_t uCount = (uHigh << 8 | rRegisters[rLayout.Tachometer.Low(ucFan)]);
        const double dDuty = rLayout.pDuty(rRegisters, ucFan);
        if (uCount >= uStopped || (uCount & ~uint32_t{rLayout.usUncounted}) == 0 || dDuty <= 0) continue;
        const double dRpm = rLayout.dTachometer / (uCount & ~uint32_t{rLayout.usUncounted});
        const double dFull = std::round(dRpm / dDuty);
        if (dFull < kSlowest || dFull > kFastest) continue;
        vxtsim::CFan& rFan = rSnapshot.Machine.Fans[{usPort, ucFan}];
        rFan.uFullSpeed = static_cast<uint32_t>(dFull);
        rFan.uStart = std::min(rFan.uStart, static_cast<uint32_t>(dDuty * 100));
    }
}

void g_ReadBridge(CSnapshot& rSnapshot) {
    constexpr uint16_t kVendor = 0x1002, kSmbusDevice = 0x4385;
    constexpr size_t kWatchdogBase = 0x6C;
    constexpr uint32_t kReservedBase = 7;
    vxtsim::CMachineDescription& rMachine = rSnapshot.Machine;
    const vxtsim::CMonitorLayout* const pLayout = vxtsim::g_FindBridgeMonitor(rMachine);
    if (!pLayout && !vxt::g_GetDriverHandler().FindPciFunction(kVendor, kSmbusDevice)) return;
    std::vector<uint8_t> Registers;
    if (g_ReadPair(vxtsim::kBridgeMonitorPort, Registers, rSnapshot)) {
        rMachine.IndexPorts[vxtsim::kBridgeMonitorPort] = Registers;
        if (pLayout) g_AddFans(vxtsim::kBridgeMonitorPort, *pLayout, Registers, rSnapshot);
    }
    if (!g_ReadPair(vxtsim::kBridgePowerPort, Registers, rSnapshot)) return;
    rMachine.IndexPorts[vxtsim::kBridgePowerPort] = Registers;
    uint32_t uBase = 0;
    for (size_t i = 4; i-- > 0;) uBase = uBase << 8 | Registers[kWatchdogBase + i];
    uBase &= ~kReservedBase;
    std::vector<uint8_t> Watchdog(8);
    const bool bWatchdog = uBase != 0 && vxt::g_GetDriverHandler().ReadMemory(
                                             uBase, static_cast<uint32_t>(Watchdog.size()), Watchdog.data());
    if (bWatchdog && !g_IsAllOnes(Watchdog)) rMachine.Memory[uBase] = std::move(Watchdog);
}

/// Writes the keys of a chip. What another chip makes of them: an index.
bool g_Open(uint16_t usPort, const CSuperIoChip& rChip) {
    return std::ranges::all_of(rChip.Keys(usPort), [&](uint8_t ucKey) { return g_Pair(usPort).Select(ucKey); });
}

void g_Close(uint16_t usPort, const CSuperIoChip& rChip) {
    if (rChip.ucLeave == vxtsim::kLeavesByRegister)
        g_Pair(usPort).Write(kControl, kLeaveBit);
    else
        g_Pair(usPort).Select(rChip.ucLeave);
}

/// The configuration is open.
void g_ReadChip(uint16_t usPort, const CSuperIoChip& rChip, CSnapshot& rSnapshot) {
    std::map<CSuperIoPart, std::vector<uint8_t>>& rParts = rSnapshot.Machine.SuperIo;
    const CSuperIoPart Global{usPort}, Device{usPort, CSuperIoPart::kDevice, CSuperIoPart::kMonitorDevice},
        Monitor{usPort, CSuperIoPart::kMonitor};
    std::vector<uint8_t> Globals, Registers;
    if (!g_ReadRegisters(usPort, 0, CSuperIoPart::kGlobals, Globals, rSnapshot)) return;
    rParts[Global] = Globals;
    const bool bRead = g_Pair(usPort).Write(kLogicalDevice, CSuperIoPart::kMonitorDevice) &&
                       g_ReadRegisters(usPort, CSuperIoPart::kGlobals, kRegisters, Registers, rSnapshot);
    if (!g_Pair(usPort).Write(kLogicalDevice, Globals[kLogicalDevice]))
        rSnapshot.Findings.push_back("the logical device of the Super I/O chip at port " + g_Hex(usPort, 4) +
                                     " could not be set back");
    if (!bRead) return;
    std::vector<uint8_t>& rDevice = rParts[Device] = Registers;
    while (rDevice.size() > CSuperIoPart::kGlobals && rDevice.back() == 0xFF) rDevice.pop_back();  // as no dump reads
    const auto usBase = static_cast<uint16_t>((Registers[kBaseHigh] << 8 | Registers[kBaseLow]) & kBaseMask);
    if (!(Registers[kActive] & 1) || usBase == 0) return;
    if (!g_ReadPair(static_cast<uint16_t>(usBase + kMonitorOffset), Registers, rSnapshot)) return;
    rParts[Monitor] = Registers;
    g_AddFans(usPort, *rChip.pMonitor, Registers, rSnapshot);
}

/// Tries the keys of every known chip. True when one has answered.
bool g_ReadSuperIo(uint16_t usPort, const CSuperIoChip& rChip, CSnapshot& rSnapshot) {
    uint16_t usId = 0;
    const bool bOpen = g_Open(usPort, rChip);
    const bool bFound = bOpen && g_Pair(usPort).ReadWord(kId, usId) && usId == rChip.usId;
    if (bFound) g_ReadChip(usPort, rChip, rSnapshot);
    g_Close(usPort, rChip);
    return bFound;
}

}  // namespace

void g_ReadSensorChips(CSnapshot& rSnapshot) {
    g_ReadBridge(rSnapshot);
    for (const uint16_t usPort : vxtsim::kSuperIoPorts)
        (void)std::ranges::any_of(vxtsim::g_SuperIoChips(),
                                  [&](const CSuperIoChip& rChip) { return g_ReadSuperIo(usPort, rChip, rSnapshot); });
}

}  // namespace vxtdiag
