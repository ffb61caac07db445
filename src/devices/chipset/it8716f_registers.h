// Registers of ITE's IT8716F, IT8718F and IT8720F: configuration and environment controller (data sheet of the IT8716F, V0.3).
#pragma once

#include "devices/chipset/super_io.h"

namespace vxt::it8716f {

// --- configuration
/// What opens the configuration at port 2Eh; at 4Eh the last one differs.
inline constexpr uint8_t kEnterKeys[] = {0x87, 0x01, 0x55}, kEnterKeyAt2E = 0x55, kEnterKeyAt4E = 0xAA;
/// Bit 1 of the configuration control closes it.
inline constexpr uint8_t kConfigureControl = 0x02, kLeave = 0x02;
inline constexpr uint8_t kMakersChips = 0x87;  ///< high byte of the number of all chips with these keys
inline constexpr uint16_t kMonitorAlignment = 8;

// --- environment controller
inline constexpr uint8_t kVendorRegister = 0x58, kVendor = 0x90;
/// Temperature zones that drive fans.
inline constexpr int32_t MAX_ZONE = 3;
inline constexpr CSuperIoMap kMap{.Duties = {.nCount = 3, .ucLow = 0x15, .ucStep = 1},
                                  .Tachometers = {.nCount = 3, .ucLow = 0x0D, .ucHigh = 0x18, .ucStep = 1},
                                  .StartLimits = {.nCount = MAX_ZONE, .ucLow = 0x61, .ucStep = 8}};
/// Tachometers: bits 0 to 2 give them a high byte.
inline constexpr uint8_t kWideCounters = 0x0C;
inline constexpr uint32_t kNoSignal = 0xFFFF, kTachometerClock = 1'350'000;  ///< two pulses a turn
/// Duties: bits 6:0 by hand; bit 7: the chip drives the fan by temperature.
inline constexpr uint32_t kFullDuty = 0x7F, kAutomatic = 0x80;
/// Bits 0 to 2: a fan has a duty; else it is full on or off, as bits 0 to 2 of the switches say.
inline constexpr uint8_t kFanModes = 0x13, kFanSwitches = 0x14;

}  // namespace vxt::it8716f
