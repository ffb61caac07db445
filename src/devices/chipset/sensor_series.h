// Sensors of a monitor chip as data: where they are, how many, and what their readings mean.
#pragma once

#include "hw/port_pair.h"

namespace vxt {

/// Percent of a fan's full duty, rounded down, and the duty for percents.
constexpr uint32_t g_DutyPercent(uint32_t uDuty, uint32_t uFull) { return uDuty * 100 / uFull; }
constexpr uint8_t g_DutyOf(uint32_t uPercent, uint32_t uFull) { return static_cast<uint8_t>(uPercent * uFull / 100); }

/// Equal sensors of one chip.
struct CSensorSeries {
    static constexpr uint8_t kNoRegister = 0xFF;

    int32_t nCount = 0;
    uint8_t ucLow = 0;               ///< register of the first one's reading
    uint8_t ucHigh = kNoRegister;    ///< of its upper byte; kNoRegister: readings have eight bits
    uint8_t ucStep = 0;              ///< from one sensor's registers to the next one's
    const char* pszCheck = nullptr;  ///< of a number, as it is logged beyond the last one; null: without a line
    double (*pConvert)(uint32_t uRaw) = nullptr;  ///< from the reading to its unit; null: what it means is not here

    constexpr bool Has(int32_t nIndex) const { return nIndex >= 0 && nIndex < nCount; }
    /// Register of a sensor that there is.
    constexpr uint8_t Register(int32_t nIndex) const { return _OfSensor(ucLow, nIndex); }
    /// The reading of a sensor that there is: two port accesses a byte, the lower byte first. Untouched on failure.
    /// `bHigh`: with the upper byte, where there is one.
    bool ReadRaw(const CPortPair& rMonitor, int32_t nIndex, uint32_t& ruRaw, bool bHigh = true) const {
        uint8_t ucLowByte = 0, ucHighByte = 0;
        if (!rMonitor.Read(Register(nIndex), ucLowByte)) return false;
        if (bHigh && ucHigh != kNoRegister && !rMonitor.Read(_OfSensor(ucHigh, nIndex), ucHighByte)) return false;
        ruRaw = static_cast<uint32_t>(ucHighByte << 8 | ucLowByte);
        return true;
    }

private:
    constexpr uint8_t _OfSensor(uint8_t ucFirst, int32_t nIndex) const {
        return static_cast<uint8_t>(ucFirst + ucStep * static_cast<uint32_t>(nIndex));
    }
};

}  // namespace vxt
