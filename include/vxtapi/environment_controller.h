// The board's Super I/O chip with its hardware monitor.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// Device type 17, always index 0. Fans, temperatures and voltages are numbered from 0; which of them a board uses, and what is
/// behind them, is the board maker's choice. A chip without an operation answers kNoReading or false there:
///
/// |                       | Fintek F71882, F71889 | ITE IT8716F, IT8718F, IT8720F |
/// |-----------------------|-----------------------|-------------------------------|
/// | duty of a fan         | fans 0 to 2           | fans 0 to 2                   |
/// | speed of a fan        | -                     | fans 0 to 2                   |
/// | temperature           | 0 to 2                | -                             |
/// | voltage               | 0 to 7                | -                             |
/// | limit of a fan's start| -                     | zones 0 to 2                  |
///
/// A register pair is behind the readings that takes no lock: nobody else, also in no other process, may read the monitor
/// meanwhile.
class CEnvironmentController : public CDevice {
public:
    /// No such reading, as a whole number (-9999 as 32 bits).
    static constexpr uint32_t kNoReading = 0xFFFFD8F1;

    /// Slot 10: duty of a fan in percent, rounded down: what was set to 50 may read 49. False, and nothing written, on failure,
    /// for another fan, and while an ITE chip drives the fan itself, by temperature.
    virtual bool GetCurrentFanSpeedPercentage(int32_t nFan, uint32_t* puPercent) = 0;
    /// Slot 11: 0 to 100. An ITE chip stops driving that fan by temperature. The fan may stop: a fan starts to turn at a duty of its
    /// own. False, and nothing written, for another fan and beyond 100.
    virtual bool SetCurrentFanSpeedPercentage(int32_t nFan, uint32_t uPercent) = 0;
    /// Slot 12: RPM; kNoReading also for a fan that stands still or is not there.
    virtual uint32_t GetCurrentFanSpeed(int32_t nFan) = 0;
    /// Slot 13: degrees Celsius. 65535 beyond the last sensor and on failure.
    virtual uint32_t GetCurrentTemperature(int32_t nIndex) = 0;
    /// Slot 14: V. 0.0 on failure, beyond the last one, and for an input that is not connected or has no scale, which is so for
    /// 6 and 7; -9999.0 where the chip has no such operation.
    virtual double GetCurrentVoltage(int32_t nIndex) = 0;
    /// Slot 15: the temperature in degrees Celsius at which the chip starts a fan that it drives itself. False, and nothing
    /// written, on failure and for another zone.
    virtual bool GetTemperatureLimitOfFanStart(int32_t nZone, int32_t* pnCelsius) = 0;

    /// Slot 16: how the chip drives a fan now, mode and duty, in the chip's own form: only good for slot 17.
    virtual bool SaveFanControl(int32_t nFan, uint32_t* puState) = 0;
    /// Slot 17: what slot 16 gave is in force again.
    virtual bool RestoreFanControl(int32_t nFan, uint32_t uState) = 0;

protected:
    ~CEnvironmentController() = default;
};

}  // namespace vxtapi
