// The board's clock generator, driven by the firmware.
#pragma once

#include <vxtapi/device.h>
#include <vxtapi/firmware_limits.h>

namespace vxtapi {

/// Device type 10, always index 0: exists where the firmware offers tuning. Clocks in MHz, kept by the firmware in kHz: a
/// fraction of a kHz is cut off. Readings are 0.0 on failure. A Set is true when the firmware says that it took the value;
/// it may not have: read back.
///
/// Threads: as every device; calls of several processes wait for each other, 5 seconds at most.
class CClockGenerator : public CDevice {
public:
    enum eClock : uint32_t { kExternalClock = 0, kPCIeClock = 1, kThirdClock = 2 };

    virtual double GetExternalClock() = 0;           ///< slot 10: the processor's reference clock
    virtual double GetPCIeClock() = 0;               ///< slot 11
    virtual double GetThirdClock() = 0;              ///< slot 12: what it drives is the board's choice
    virtual bool SetExternalClock(double dMHz) = 0;  ///< slot 13
    virtual bool SetPCIeClock(double dMHz) = 0;
    virtual bool SetThirdClock(double dMHz) = 0;  ///< slot 15
    /// Slot 16: the clocks that the firmware offers, as read at start-up. `pdValues` has room for `ruSize` numbers; on
    /// success `ruSize` becomes their count. A null `pdValues` asks for the count alone. False, and nothing written, when
    /// they do not fit and when the firmware offers no list: then any clock within the limits can be tried.
    virtual bool GetExternalClockList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetPCIeClockList(double* pdValues, uint32_t& ruSize) = 0;  ///< slot 17
    /// Slot 18: asks the firmware. False, and nothing written, when it does not answer.
    virtual bool GetClockLimits(eClock eWhich, FirmwareLimits* pLimits) = 0;

protected:
    ~CClockGenerator() = default;
};

}  // namespace vxtapi
