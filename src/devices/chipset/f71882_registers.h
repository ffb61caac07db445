// Registers of the Fintek F71882FG's and F71889F's configuration and hardware monitor (data sheets V0.26P and V0.20P).
#pragma once

#include <iterator>

#include "devices/chipset/super_io.h"

namespace vxt::f71882 {

// --- configuration
inline constexpr uint8_t kEnterKey = 0x87, kLeaveKey = 0xAA;  ///< the first one twice
inline constexpr uint8_t kVendorHigh = 0x23, kVendorLow = 0x24;
inline constexpr uint16_t SIO_FINTEK_ID = 0x1934;

// --- monitor
inline constexpr CSuperIoMap kMap{.Duties = {.nCount = 3, .ucLow = 0xA3, .ucStep = 0x10},
                                  .Temperatures = {.nCount = 3, .ucLow = 0x72, .ucStep = 2},
                                  .Voltages = {.nCount = 8, .ucLow = 0x21, .ucStep = 1}};
inline constexpr uint32_t kFullDuty = 255;
inline constexpr double kVoltsPerStep = 0.008;
/// What the inputs are multiplied by before the board's divider counts.
inline constexpr uint32_t kInputFactors[] = {1, 2, 11, 2, 1, 1, 1, 1};
static_assert(std::size(kInputFactors) == kMap.Voltages.nCount);

/// Where the scale of a voltage is: two bits that choose one of the scales. The last two voltages have none.
struct CScaleBits {
    uint8_t ucRegister, ucLowBit;
};
inline constexpr CScaleBits kScaleBits[] = {{0x0F, 0}, {0x0F, 2}, {0x0F, 4}, {0x0F, 6}, {0x0E, 4}, {0x0E, 6}};
inline constexpr uint32_t kScales[] = {1, 2, 4, 16};
inline constexpr uint8_t kVoltageScales[] = {0x0E, 0x0F}, kFlags = 0x0C, kUnused = 0x0B;

}  // namespace vxt::f71882
