// The board's voltage (PWM) controllers, driven by the firmware.
#pragma once

#include <vxtapi/device.h>
#include <vxtapi/firmware_limits.h>

namespace vxtapi {

/// Device types 11 (the voltages that boards have in common, under fixed names) and 12 (every voltage of this board,
/// under the firmware's names), always index 0. Voltages in V, kept by the firmware in mV: a fraction of a mV is cut off.
///
/// Threads: as every device; calls of several processes wait for each other, 5 seconds at most.
class CVoltageController : public CDevice {
public:
    virtual uint32_t GetVoltageCount() = 0;  ///< slot 10: voltages are numbered from 0
    /// Slot 11: at most 63 characters, owned by the device. Empty beyond the last one.
    virtual const wchar_t* GetVoltageName(int32_t nIndex) = 0;
    virtual double GetVoltage(int32_t nIndex) = 0;  ///< slot 12: asks the firmware; 0.0 on failure
    /// Slot 13: true when the firmware says that it took the value; read back. False beyond the last one.
    virtual bool SetVoltage(int32_t nIndex, double dVolts) = 0;
    /// Slot 14: as the firmware told them at start-up. The default is the voltage then where the firmware names none.
    /// False, and nothing written, beyond the last one.
    virtual bool GetVoltageLimits(int32_t nIndex, FirmwareLimits* pLimits) = 0;

protected:
    ~CVoltageController() = default;
};

}  // namespace vxtapi
