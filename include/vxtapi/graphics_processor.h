// The graphics processor.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// Device type 3. No device of this type exists in this version: its hardware access is not built yet.
class CGraphicsProcessor : public CDevice {
public:
    virtual bool IsIntegrated() = 0;               ///< slot 10: part of the chipset
    virtual double GetEngineClock() = 0;           ///< slot 11: MHz; 0.0 on failure
    virtual bool SetEngineClock(double dMHz) = 0;  ///< slot 12: true when the driver took it; read back

protected:
    ~CGraphicsProcessor() = default;
};

}  // namespace vxtapi
