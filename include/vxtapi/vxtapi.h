// VXTAPI: the eight exports. Include this header, load the library, call InitVXTAPI.
//
// Freestanding apart from <cstdint>; the same slot numbers under the Microsoft and Itanium C++ ABIs.
#pragma once

#include <vxtapi/benchmark_center.h>
#include <vxtapi/bios.h>
#include <vxtapi/board.h>
#include <vxtapi/clock_generator.h>
#include <vxtapi/cpu.h>
#include <vxtapi/device.h>
#include <vxtapi/device_controller.h>
#include <vxtapi/device_manager.h>
#include <vxtapi/environment_controller.h>
#include <vxtapi/graphics_processor.h>
#include <vxtapi/ht_link.h>
#include <vxtapi/input_device.h>
#include <vxtapi/log.h>
#include <vxtapi/memory_controller.h>
#include <vxtapi/memory_module.h>
#include <vxtapi/monitor.h>
#include <vxtapi/north_bridge.h>
#include <vxtapi/performance_control.h>
#include <vxtapi/profile_keys.h>
#include <vxtapi/profile_settings.h>
#include <vxtapi/south_bridge.h>
#include <vxtapi/storage_device.h>
#include <vxtapi/test_center.h>
#include <vxtapi/voltage_controller.h>

extern "C" {

/// Starts the library: driver (installed when it is not running), firmware connections, device inventory.
/// `bEnableLog` opens "./Logs/VXTAPI/<date>/..." and writes every level; otherwise the log stays silent.
/// False when a required step failed; call UnInitVXTAPI in any case. Call start-up and shut-down from one thread.
/// One start per load is the rule: a second one in the same process finds the firmware's tables already read, drops them
/// and goes on without processors' timers (no CPU devices) and without memory-mapped configuration space.
/// On Windows the process needs administrator rights and, beside its executable, "qor64\VXTDriver.sys"
/// ("i386\VXTDriver.sys" on 32-bit systems).
bool InitVXTAPI(bool bEnableLog);

/// Stops the library and removes the driver when this was its last user. Always true; failures are in the log.
bool UnInitVXTAPI();

/// The service objects: fixed pointers, valid from load to unload, also before InitVXTAPI. Never delete them.
vxtapi::CDeviceManager* GetDeviceManager();
vxtapi::CPerformanceControl* GetPerformanceControl();
vxtapi::CLog* GetLog();
vxtapi::CProfileSettgins* GetProfileSettings();

/// Whether the firmware offers overclocking, that is, whether a clock generator device exists.
/// False, with `*pbSupported` untouched, before the first successful InitVXTAPI (or for a null pointer).
bool IsBiosOCSupported(bool* pbSupported);

/// Whether the user has accepted the overclocking warning: current user, "Software\QOR\QOR Velomar", value
/// "UserAccepted" equal to 1. Works without InitVXTAPI. The host writes the value, never the library.
bool IsOverclockWarningAccepted();
}
