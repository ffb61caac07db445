// What is attached to a device of the system's device tree.
#pragma once

#include <vxtapi/device_controller.h>

#include <string_view>
#include <vector>

namespace vxt {

using CAttachedDevices = std::vector<vxtapi::AttachedDevice>;

/// Reads the tree once and lists what hangs below the device `sId`, however deep, each behind what it is attached to, else in the
/// tree's order. Whatever the tree says each device is listed once at most. False, and nothing listed, when the tree cannot be read or
/// there is no memory. Threads: any.
bool g_ListAttached(std::wstring_view sId, CAttachedDevices& rDevices);

bool g_AreEqual(const CAttachedDevices& rOne, const CAttachedDevices& rOther);

}  // namespace vxt
