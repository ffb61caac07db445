// Sensor chips as data: how a Super I/O chip is opened, and where a hardware monitor keeps fans and temperatures. A chip is a
// row in monitor_layouts.cpp.
#pragma once

#include <cstdint>
#include <span>

#include "../machine_file.h"

namespace vxtsim {

/// Registers of a word of channel 0, and how far the next channel's are. Without a high byte both are the same.
struct CMonitorWord {
    uint8_t ucLow, ucHigh, ucStride;

    uint8_t Low(uint32_t uChannel) const { return static_cast<uint8_t>(ucLow + uChannel * ucStride); }
    uint8_t High(uint32_t uChannel) const { return static_cast<uint8_t>(ucHigh + uChannel * ucStride); }
    bool HasHigh() const { return ucLow != ucHigh; }
};

struct CMonitorLayout {
    using CRegisters = std::span<const uint8_t>;

    uint8_t ucFans;
    CMonitorWord Tachometer;
    double dTachometer;    ///< RPM = this / count
    uint16_t usUncounted;  ///< bits of the count that do not count
    /// The count without a signal, which is the highest one; a byte of it has no high register.
    uint16_t (*pStopped)(CRegisters Registers, uint32_t uFan);
    /// The share of full duty that is in force, 0 to 1.
    double (*pDuty)(CRegisters Registers, uint32_t uFan);

    uint8_t ucTemperatures;
    CMonitorWord Temperature;
    double dPerDegree, dZero;  ///< reading = Celsius * dPerDegree + dZero
};

/// Ends of an open configuration: a key that is written to the index port, or bit 1 of register 02.
inline constexpr uint8_t kLeavesByRegister = 0;

inline constexpr uint16_t kSuperIoPorts[] = {0x2E, 0x4E};  ///< a chip is strapped to one of them

struct CSuperIoChip {
    uint16_t usId;                   ///< registers 20 (high) and 21
    uint8_t ucKeys;                  ///< how many
    uint8_t aucKeys[2][4];           ///< at 2E and at 4E
    uint8_t ucLeave;                 ///< key, or kLeavesByRegister
    uint8_t ucLastIdentity;          ///< registers from 20 to this one cannot be written
    const CMonitorLayout* pMonitor;  ///< of logical device 4

    std::span<const uint8_t> Keys(uint16_t usPort) const {
        return std::span(aucKeys[usPort == kSuperIoPorts[0] ? 0 : 1]).first(ucKeys);
    }
};

bool g_IsSuperIoPort(uint16_t usPort);
/// What registers 20 and 21 of the chip at this port say; 0 when they are not there.
uint16_t g_SuperIoChipId(const CMachineDescription& rMachine, uint16_t usPort);
/// The chip that the machine has at a port; null when it has none or one that nobody knows.
const CSuperIoChip* g_FindSuperIoChip(const CMachineDescription& rMachine, uint16_t usPort);
std::span<const CSuperIoChip> g_SuperIoChips();

/// Index ports of the south bridge's hardware monitor and of its power management.
inline constexpr uint16_t kBridgeMonitorPort = 0xCD0, kBridgePowerPort = 0xCD6;
/// The layout behind the first; null when the machine has no south bridge that is known by its SATA function.
const CMonitorLayout* g_FindBridgeMonitor(const CMachineDescription& rMachine);

/// What fans at this port are connected to; null when nothing is there.
const CMonitorLayout* g_FindMonitorLayout(const CMachineDescription& rMachine, uint16_t usPort);

}  // namespace vxtsim
