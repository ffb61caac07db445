// Registers of the south bridges' hardware monitor, power management and watchdog timer.
#pragma once

#include <vxtapi/south_bridge.h>

#include "devices/chipset/sensor_series.h"

namespace vxt::sb {

/// Index ports; each has its data port behind it.
inline constexpr uint16_t kMonitorPort = 0xCD0, kPowerManagementPort = 0xCD6;

// --- conversions

/// RPM. Kept: bit 0 does not count, and a count of nothing is not guarded: infinity.
constexpr double g_FanSpeed(uint32_t uRaw) { return 675000.0 / static_cast<double>(uRaw & ~1u); }
/// RPM; none where the tachometer ran over or saw nothing.
constexpr double g_GuardedFanSpeed(uint32_t uRaw) {
    return uRaw == 0xFFFF || uRaw == 0 ? vxtapi::CSouthBridge::kNoReading : g_FanSpeed(uRaw);
}
/// Kept: a division where kelvins would ask for a subtraction.
constexpr double g_OldTemperature(uint32_t uRaw) { return ((uRaw - 1792.0) * 300.626 / 1792 + 1.5) / 273.16; }
constexpr double g_Temperature(uint32_t uRaw) { return (uRaw - 43613.0) / 148.0; }  ///< degrees Celsius
constexpr double g_Voltage(uint32_t uRaw) { return (uRaw >> 6) * 0.002933; }        ///< V

// --- sensors: the texts of their checks are kept letter for letter, hosts search logs for them

constexpr CSensorSeries g_Fans(const char* pszCheck, double (*pConvert)(uint32_t)) {
    return {.nCount = 3, .ucLow = 0x34, .ucHigh = 0x35, .ucStep = 5, .pszCheck = pszCheck, .pConvert = pConvert};
}
constexpr CSensorSeries g_Temperatures(double (*pConvert)(uint32_t)) {
    return {.nCount = 4,
            .ucLow = 0x46,
            .ucHigh = 0x47,
            .ucStep = 4,
            .pszCheck = "index >= 0 && index <4",
            .pConvert = pConvert};
}
inline constexpr CSensorSeries kVoltages{.nCount = 8,
                                         .ucLow = 0x59,
                                         .ucHigh = 0x5A,
                                         .ucStep = 4,
                                         .pszCheck = "index >= 0 && index <8",
                                         .pConvert = g_Voltage};

// --- fan control: thirteen registers a fan

inline constexpr int32_t kFanBlock = 13, kFans = 4;
inline constexpr uint32_t kFullDuty = 255;
constexpr uint8_t g_DutyRegister(int32_t nFan) { return static_cast<uint8_t>(kFanBlock * nFan + 3); }
/// Limit `nWhich` of a temperature; the other byte follows.
constexpr int64_t g_ThresholdRegister(int32_t nIndex, int32_t nWhich) {
    return kFanBlock * nIndex + 2 * (int64_t{nWhich} + 3);
}

/// Status words: bits 11h of each channel after a shift by two a channel.
inline constexpr uint8_t kFanStatus = 0x00, kTemperatureStatus = 0x42;
inline constexpr CSensorSeries kVoltageStatus{.nCount = 1, .ucLow = 0x56, .ucHigh = 0x57};
constexpr uint32_t g_ChannelStatus(uint32_t uStatus, int32_t nIndex) { return uStatus >> (2 * nIndex) & 0x11; }
/// The fan status with one fan under manual control.
constexpr uint8_t g_Manual(uint8_t ucStatus, int32_t nFan) {
    return static_cast<uint8_t>((ucStatus & ~(0x11u << (2 * nFan))) | 1u << (2 * nFan));
}

// --- power management

inline constexpr uint8_t kSensorClock = 0xCF;  ///< 4: temperatures can be averaged
inline constexpr uint8_t kWatchdogControl = 0x69, kWatchdogBase = 0x6C;
// Values of the watchdog control: bit 0 switches it off, bits 2:1 are the resolution (01: 10 ms).
inline constexpr uint8_t kWatchdogNothing = 0, kWatchdogOff = 1, kWatchdogOn = 2;
inline constexpr uint16_t kWatchdogCount = 3000;
// Its control word in memory: bit 0 runs it, bit 7 starts it over, bit 1 tells of the last one that ran out.
inline constexpr uint32_t kWatchdogTrigger = 0x81, kWatchdogStop = 0x02, kWatchdogCountOffset = 4;

}  // namespace vxt::sb
