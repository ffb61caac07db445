// The chipset's south bridge: hardware monitor, fan control, watchdog timer, clock calibration.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// Device type 16, always index 0. The chipset's monitor has up to four fans, four temperatures and eight voltages, numbered
/// from 0; which of them a board uses is the board maker's choice. A chip without an operation answers kNoReading, 0 or false
/// there and logs nothing: the SQ3 chip has only fan speeds, temperatures and voltages.
///
/// Readings are kNoReading when they fail and beyond the last sensor. A register pair is behind them that takes no lock:
/// nobody else, also in no other process, may read the monitor meanwhile.
class CSouthBridge : public CDevice {
public:
    static constexpr double kNoReading = -9999.0;

    /// Slot 10: the chip's power-management preparation: writes some of its registers and restores them. False when a register
    /// cannot be reached.
    virtual bool PreparePowerManagement() = 0;
    /// Slot 11: whether the firmware's setup has the item "Core Trim Boost" (clock calibration).
    virtual bool IsCTBSupported() = 0;
    /// Slot 12: false when it is off and on failure. Kept: that it is off is logged like a failure.
    virtual bool GetCTBState() = 0;
    /// Slot 13: takes effect with the next start of the PC. Kept: true, and nothing changed, where the item has no such option.
    virtual bool SetCTBState(bool bEnable) = 0;
    /// Slot 14: how the firmware set fan 0 to 3 up, as read at start-up: the bits 11h of the chip's status after a shift by two
    /// a fan. 0 beyond the last one.
    virtual uint32_t GetFanControlStatus(int32_t nIndex) = 0;
    virtual uint32_t GetTemperatureControlStatus(int32_t nIndex) = 0;  ///< slot 15: temperature 0 to 3, likewise
    virtual uint32_t GetVoltageControlStatus(int32_t nIndex) = 0;      ///< slot 16: voltage 0 to 6, likewise
    /// Slot 17: fan 0 to 2, in RPM. kNoReading also for a fan that stands still or is not there; the SQ3 chip gives its
    /// tachometer's reading as it is then (10 RPM, infinity).
    virtual double GetCurrentFanSpeed(int32_t nIndex) = 0;
    /// Slot 18: puts fan 0 to 3 under manual control with a duty in percent, 0 to 100. The fan may stop: a fan starts to turn
    /// at a duty of its own. False, and nothing written, beyond these limits.
    virtual bool SetCurrentFanSpeed(int32_t nIndex, uint32_t uPercent) = 0;
    /// Slot 19: temperature 0 to 3, in degrees Celsius. Kept: the SQ3 chip gives kelvins divided by 273.16, so that
    /// 273.16 * (reading - 1) are degrees Celsius.
    virtual double GetCurrentTemperature(int32_t nIndex) = 0;
    virtual double GetCurrentVoltage(int32_t nIndex) = 0;  ///< slot 20: voltage 0 to 7, V at the chip's input
    /// Slot 21: one of the temperature limits, 0 to 2, of temperature 0 to 3, in degrees Celsius.
    virtual double GetTemperatureThreshold(int32_t nIndex, int32_t nWhich) = 0;
    /// Slot 22: readies the watchdog timer with a count of 3000, or switches it off. False where the firmware gave its registers
    /// no place in memory.
    virtual bool EnableWatchDogTimer(bool bEnable) = 0;
    /// Slot 23: starts the timer, or starts it over; false stops it. After EnableWatchDogTimer, which finds the timer.
    virtual bool TriggerWatchDogTimer(bool bRun) = 0;

    /// Slot 24: the duty of fan 0 to 3 that was last written, in percent (rounded down: 50 reads 49). It is not in force
    /// while the chip drives the fan itself. False, and nothing written, on failure.
    virtual bool GetCurrentFanSpeedPercentage(int32_t nIndex, uint32_t* puPercent) = 0;
    /// Slot 25: how the chip drives fan 0 to 3 now, mode and duty, in the chip's own form: only good for slot 26.
    virtual bool SaveFanControl(int32_t nIndex, uint32_t* puState) = 0;
    /// Slot 26: what slot 25 gave is in force again.
    virtual bool RestoreFanControl(int32_t nIndex, uint32_t uState) = 0;

protected:
    ~CSouthBridge() = default;
};

}  // namespace vxtapi
