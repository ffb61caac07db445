// All device classes, and the one device manager that tries them.
#pragma once

#include "devices/framework/device_manager.h"

namespace vxt {

/// The creation functions of all device classes in the order in which they are tried.
std::span<const CCreateFunction> g_GetDeviceList();
uint32_t g_GetDeviceListCount();

/// The one device manager of the process.
CDeviceManager& g_GetDeviceManager();

}  // namespace vxt
