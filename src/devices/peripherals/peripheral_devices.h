// Graphics, disks, controllers, monitor and input devices.
#pragma once

#include <vxtapi/graphics_processor.h>

#include "devices/framework/unbuilt_device.h"
#include "devices/peripherals/board.h"
#include "devices/peripherals/device_controller.h"
#include "devices/peripherals/input_device.h"
#include "devices/peripherals/monitor.h"
#include "devices/peripherals/storage_device.h"

namespace vxt {

inline constexpr CDeviceIdentity kNYXGPUIdentity{
    .eType = vxtapi::kDeviceGpu, .pszName = L"NYX(TM) GPU", .uVersion = 20070322, .pszVendor = kMakerVendor};

class CNYXGPU final : public CUnbuiltDevice<kNYXGPUIdentity, vxtapi::CGraphicsProcessor> {
public:
    bool IsIntegrated() override { return false; }
    double GetEngineClock() override { return 0.0; }
    bool SetEngineClock(double /*dMHz*/) override { return false; }
    bool GetEngineClockLimits(vxtapi::EngineClockLimits* /*pLimits*/) override { return false; }
};

}  // namespace vxt
