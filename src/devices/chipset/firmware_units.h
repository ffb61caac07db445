// The firmware's objects for clocks, and its units: it counts in thousandths, kHz where devices say MHz, mV where they say V.
#pragma once

#include <vxtapi/firmware_limits.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "firmware/bios_handler.h"

namespace vxt {

inline constexpr uint32_t kExternalClockObject = 0x01010000, kPCIeClockObject = 0x01020000,
                          kThirdClockObject = 0x01030000;

inline constexpr double kFirmwareUnits = 1000.0;

/// A device value in firmware units. The rounding noise of the multiplication goes (128.003 * 1000 is a little
/// less than 128003, and the firmware would refuse 128002); a real fraction stays, to be cut off on the way.
inline double g_ToFirmware(double dValue) {
    constexpr double kNoise = 1e-6;
    const double dScaled = dValue * kFirmwareUnits, dRounded = std::round(dScaled);
    return std::abs(dScaled - dRounded) < kNoise ? dRounded : dScaled;
}

/// The words that describe an object, in the device's unit. False when the firmware does not answer.
inline bool g_ReadFirmwareLimits(CQORBIOSHandler& rHandler, uint32_t uID, vxtapi::FirmwareLimits& rLimits) {
    std::vector<uint32_t> Info;
    if (!rHandler.GetInfo(uID, Info)) return false;
    std::array<uint32_t, 4> auWords{};  // what the firmware leaves out is 0
    std::copy_n(Info.begin(), std::min(Info.size(), auWords.size()), auWords.begin());
    rLimits = {auWords[0] / kFirmwareUnits, auWords[1] / kFirmwareUnits, auWords[2] / kFirmwareUnits,
               auWords[3] / kFirmwareUnits};
    return true;
}

}  // namespace vxt
