// The chipset's north bridge.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// Device type 15, always index 0: the chipset's side of the HyperTransport link to the processor.
class CNorthBridge : public CDevice {
public:
    virtual double GetHTMultiplier() = 0;     ///< slot 10: link clock in units of 200 MHz; 0.0 on failure
    virtual double GetMaxHTMultiplier() = 0;  ///< slot 11: 0.0 when the hardware does not say
    /// Slot 12: a value that the hardware cannot express leaves the frequency as it was and is no error.
    virtual bool SetHTMultiplier(double dMultiplier) = 0;

protected:
    ~CNorthBridge() = default;
};

}  // namespace vxtapi
