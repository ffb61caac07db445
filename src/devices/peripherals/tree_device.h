// What the system's device tree shows of a device.
#pragma once

#include "devices/framework/wide_text.h"
#include "platform/device_tree.h"

namespace vxt {

inline constexpr size_t kDeviceIdLength = 255, kDeviceNameLength = 127;

/// Empty texts: the tree does not tell.
struct CTreeDevice {
    CWideText<kDeviceIdLength> Id;
    CWideText<kDeviceNameLength> Name;  ///< the friendly one, else the driver's word for it
    CWideText<kDeviceNameLength> Manufacturer;
};

/// Reads device `uIndex` of a list. False beyond the last one, without a report.
bool g_ReadTreeDevice(const platform::CDeviceList& rList, uint32_t uIndex, CTreeDevice& rDevice);
/// The device's name alone.
void g_ReadTreeName(const platform::CDeviceList& rList, uint32_t uIndex, CWideText<kDeviceNameLength>& rName);

}  // namespace vxt
