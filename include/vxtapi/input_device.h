// Keyboards and mice.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// Device types 24 (keyboards) and 23 (mice), index 0 upward: those of the system's device tree. GetModel is the system's name for
/// it, GetVendor its word for the maker. Read at start-up and by the device manager's Refresh, which makes these devices
/// anew: pointers to them end there.
class CInputDevice : public CDevice {
public:
    virtual const wchar_t* GetDeviceId() = 0;    ///< slot 10: in the system's device tree
    virtual const wchar_t* GetConnection() = 0;  ///< slot 11: "PS/2", "USB", "Bluetooth", else the tree's word

protected:
    ~CInputDevice() = default;
};

}  // namespace vxtapi
