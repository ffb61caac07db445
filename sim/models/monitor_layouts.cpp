#include "monitor_layouts.h"

#include <algorithm>

namespace vxtsim {

namespace {

using CRegisters = CMonitorLayout::CRegisters;

uint8_t g_At(CRegisters Registers, size_t uRegister) {
    return uRegister < Registers.size() ? Registers[uRegister] : uint8_t{0xFF};
}
bool g_Bit(CRegisters Registers, size_t uRegister, uint32_t uBit) { return g_At(Registers, uRegister) >> uBit & 1; }

// --- Fintek: duties A3, B3 ... of 8 bits are always in force.

constexpr CMonitorLayout g_Fintek(uint8_t ucFans) {
    return {
        .ucFans = ucFans,
        .Tachometer = {0xA1, 0xA0, 0x10},
        .dTachometer = 1'500'000,
        .usUncounted = 0,
        .pStopped = [](CRegisters, uint32_t) -> uint16_t { return 0x0FFF; },
        .pDuty = [](CRegisters Registers, uint32_t uFan) { return g_At(Registers, 0xA3 + 0x10 * uFan) / 255.0; },
        .ucTemperatures = 3,
        .Temperature = {0x72, 0x72, 2},
        .dPerDegree = 1,
        .dZero = 0,
    };
}
constexpr CMonitorLayout kF71882 = g_Fintek(4), kF71889 = g_Fintek(3);

// --- ITE: 13 switches each fan between on/off, by 14, and its duty of 7 bits from 15 on. With bit 7 that is automatic: the
// chip's own curve is not modelled, the fan then keeps the duty that the curve starts with (63, 6B, 73).

double g_IteDuty(CRegisters Registers, uint32_t uFan) {
    if (!g_Bit(Registers, 0x13, uFan)) return g_Bit(Registers, 0x14, uFan) ? 1.0 : 0.0;
    const bool bAutomatic = g_Bit(Registers, 0x15 + uFan, 7);
    return (g_At(Registers, bAutomatic ? 0x63 + 8 * uFan : 0x15 + uFan) & 0x7F) / 127.0;
}
constexpr CMonitorLayout kIte = {
    .ucFans = 3,
    .Tachometer = {0x0D, 0x18, 1},
    .dTachometer = 675'000,
    .usUncounted = 0,
    .pStopped = [](CRegisters Registers, uint32_t uFan) -> uint16_t {
        return g_Bit(Registers, 0x0C, uFan) ? 0xFFFF : 0xFF;
    },
    .pDuty = g_IteDuty,
    .ucTemperatures = 3,
    .Temperature = {0x29, 0x29, 1},
    .dPerDegree = 1,
    .dZero = 0,
};

// --- South bridges: 00 has two bits for each fan, of which the lower one puts the duty at 3, 16 ... in force. Without it the
// fan runs at full speed.

double g_BridgeDuty(CRegisters Registers, uint32_t uFan) {
    return g_Bit(Registers, 0, 2 * uFan) ? g_At(Registers, 13 * uFan + 3) / 255.0 : 1.0;
}
constexpr CMonitorLayout g_Bridge(double dPerDegree, double dZero) {
    return {
        .ucFans = 4,
        .Tachometer = {0x34, 0x35, 5},
        .dTachometer = 675'000,
        .usUncounted = 1,
        .pStopped = [](CRegisters, uint32_t) -> uint16_t { return 0xFFFF; },
        .pDuty = g_BridgeDuty,
        .ucTemperatures = 4,
        .Temperature = {0x46, 0x47, 4},
        .dPerDegree = dPerDegree,
        .dZero = dZero,
    };
}
constexpr double kSq3PerDegree = 1792 / 300.626;  // reading = 1792 + (kelvin - 1.5) * this
constexpr CMonitorLayout kSq3 = g_Bridge(kSq3PerDegree, 1792 + (273.15 - 1.5) * kSq3PerDegree),
                         kSq4 = g_Bridge(148, 43'613);

// --- who has them

constexpr uint8_t kFintekKeys[2][4] = {{0x87, 0x87}, {0x87, 0x87}};
constexpr uint8_t kIteKeys[2][4] = {{0x87, 0x01, 0x55, 0x55}, {0x87, 0x01, 0x55, 0xAA}};

constexpr CSuperIoChip g_FintekChip(uint16_t usId, const CMonitorLayout& rMonitor) {
    CSuperIoChip Chip{usId, 2, {}, 0xAA, 0x24, &rMonitor};
    std::ranges::copy(kFintekKeys[0], Chip.aucKeys[0]), std::ranges::copy(kFintekKeys[1], Chip.aucKeys[1]);
    return Chip;
}
constexpr CSuperIoChip g_IteChip(uint16_t usId) {
    CSuperIoChip Chip{usId, 4, {}, kLeavesByRegister, 0x22, &kIte};
    std::ranges::copy(kIteKeys[0], Chip.aucKeys[0]), std::ranges::copy(kIteKeys[1], Chip.aucKeys[1]);
    return Chip;
}
constexpr CSuperIoChip kSuperIoChips[] = {
    g_FintekChip(0x0541, kF71882),  // F71882FG
    g_FintekChip(0x0723, kF71889),  // F71889FG
    g_IteChip(0x8716),              // IT8716F
    g_IteChip(0x8718),              // IT8718F
    g_IteChip(0x8720),              // IT8720F
};

struct CBridgeRow {
    uint16_t usFirstSata, usLastSata;
    const CMonitorLayout* pMonitor;
};
constexpr uint32_t kBridgeVendor = 0x1002;
constexpr CBridgeRow kBridges[] = {{0x4380, 0x4381, &kSq3}, {0x4390, 0x4394, &kSq4}};

}  // namespace

bool g_IsSuperIoPort(uint16_t usPort) { return std::ranges::find(kSuperIoPorts, usPort) != std::end(kSuperIoPorts); }

uint16_t g_SuperIoChipId(const CMachineDescription& rMachine, uint16_t usPort) {
    constexpr size_t kId = 0x20;
    const auto it = rMachine.SuperIo.find({usPort});
    if (it == rMachine.SuperIo.end() || it->second.size() < kId + 2) return 0;
    return static_cast<uint16_t>(it->second[kId] << 8 | it->second[kId + 1]);
}

const CSuperIoChip* g_FindSuperIoChip(const CMachineDescription& rMachine, uint16_t usPort) {
    const auto pChip = std::ranges::find(kSuperIoChips, g_SuperIoChipId(rMachine, usPort), &CSuperIoChip::usId);
    return pChip == std::end(kSuperIoChips) ? nullptr : pChip;
}

std::span<const CSuperIoChip> g_SuperIoChips() { return kSuperIoChips; }

const CMonitorLayout* g_FindBridgeMonitor(const CMachineDescription& rMachine) {
    for (const auto& [usFirst, usLast, pMonitor] : kBridges)
        for (const auto& [Address, rFunction] : rMachine.Pci) {
            const uint32_t uVendor = rFunction[0] | rFunction[1] << 8, uDevice = rFunction[2] | rFunction[3] << 8;
            if (uVendor == kBridgeVendor && uDevice >= usFirst && uDevice <= usLast) return pMonitor;
        }
    return nullptr;
}

const CMonitorLayout* g_FindMonitorLayout(const CMachineDescription& rMachine, uint16_t usPort) {
    if (usPort == kBridgeMonitorPort)
        return rMachine.IndexPorts.contains(usPort) ? g_FindBridgeMonitor(rMachine) : nullptr;
    const CSuperIoChip* const pChip = g_FindSuperIoChip(rMachine, usPort);
    return pChip ? pChip->pMonitor : nullptr;
}

}  // namespace vxtsim
