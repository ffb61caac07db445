// The graphics processor.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// Engine clocks that the driver takes. All 0 where it does not say.
struct EngineClockLimits {
    double dLowest, dHighest;  ///< MHz
    double dStep;              ///< MHz; 0: any
};

/// Device type 3, index 0 upward: one for each display adapter whose driver answers the library's escape; most do not, and then there is
/// no device of this type. GetModel is the adapter's name.
///
/// Threads: the one that started the library.
class CGraphicsProcessor : public CDevice {
public:
    virtual bool IsIntegrated() = 0;      ///< slot 10: part of the chipset
    virtual double GetEngineClock() = 0;  ///< slot 11: MHz, now; 0.0 on failure
    /// Slot 12: true when the driver took it and reads it back so, within half a step (without one: 0.5 MHz). False, and nothing
    /// asked of the driver, for a clock beyond its limits, and always where it tells none.
    virtual bool SetEngineClock(double dMHz) = 0;
    virtual bool GetEngineClockLimits(
        EngineClockLimits* pLimits) = 0;  ///< slot 13: false where the driver does not say

protected:
    ~CGraphicsProcessor() = default;
};

}  // namespace vxtapi
