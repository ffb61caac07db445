#include "devices/device_list.h"

#include <array>

#include "devices/chipset/chipset_devices.h"
#include "devices/cpu/cpu_devices.h"
#include "devices/memctl/memctl_devices.h"
#include "devices/peripherals/peripheral_devices.h"

namespace vxt {

namespace {

// The order decides which of two classes that accept the same hardware is kept, so it is part of the behaviour.
template <class... TDevices>
constexpr std::array<CCreateFunction, sizeof...(TDevices)> kCreateAll{g_CreateDevice<TDevices>...};

// clang-format off
constexpr auto& kDeviceList = kCreateAll<
    CCorvel64CPU, CCorvel64X2CPU, CBrevikCPU, CTalvorCPU,
    CMoldanMemoryController, CKDFMemoryController, CBrevikMemoryController, CTalvorMemoryController,
    CHTLink, CBrevikHTLink, CTalvorHTLink,
    CNYXGPU, CF71882, CIT8716F, CNBQ7, CSQ3, CSQ4,
    CDefaultCDRom, CDefaultHardDisk, CIDEController, CSATAController, CDefaultKeyboard, CDefaultMouse, CUSBController,
    CDefaultBIOS, CDefaultBoard, CDefaultClockGen, CDefaultMemory, CDefaultMonitor, CDefaultPWMController,
    CCustomerPWMController>;
// clang-format on
static_assert(std::size(kDeviceList) == 31);

}  // namespace

std::span<const CCreateFunction> g_GetDeviceList() { return kDeviceList; }

uint32_t g_GetDeviceListCount() { return static_cast<uint32_t>(std::size(kDeviceList)); }

CDeviceManager& g_GetDeviceManager() {
    static CDeviceManager s_DeviceManager(kDeviceList);
    return s_DeviceManager;
}

}  // namespace vxt
