#include "devices/device_list.h"

#include "devices/chipset/chipset_devices.h"
#include "devices/cpu/cpu_devices.h"
#include "devices/graphics/graphics_processor.h"
#include "devices/memctl/memctl_devices.h"
#include "devices/memory/memory_module.h"
#include "devices/peripherals/peripheral_devices.h"
#include "firmware/acpi_table.h"
#include "firmware/bios_device.h"

namespace vxt {

namespace {

template <class TDevice>
constexpr CCreateFunction kProcessor = g_CreateDevice<TDevice, g_GetDriverHandler, g_GetACPITable>;
template <class TDevice> constexpr CCreateFunction kOverDriver = g_CreateDevice<TDevice, g_GetDriverHandler>;
template <class TDevice>
constexpr CCreateFunction kSouthBridge = g_CreateDevice<TDevice, g_GetDriverHandler, g_GetCMOSItemList>;
template <class TDevice> constexpr CCreateFunction kOverFirmware = g_CreateDevice<TDevice, g_GetQORBIOSHandler>;
template <class TDevice> constexpr CCreateFunction kOverSystemWmi = g_CreateDevice<TDevice, g_GetSystemWmi>;
template <class TDevice> constexpr CCreateFunction kAlone = g_CreateDevice<TDevice>;

// The order decides which of two classes that accept the same hardware is kept, so it is part of the behaviour.
constexpr CCreateFunction kDeviceList[] = {
    kProcessor<CCorvel64CPU>,
    kProcessor<CCorvel64X2CPU>,
    kProcessor<CBrevikCPU>,
    kProcessor<CTalvorCPU>,
    kOverDriver<CMoldanMemoryController>,
    kOverDriver<CKDFMemoryController>,
    kOverDriver<CBrevikMemoryController>,
    kOverDriver<CTalvorMemoryController>,
    kOverDriver<CHTLink>,
    kOverDriver<CBrevikHTLink>,
    kOverDriver<CTalvorHTLink>,
    kAlone<CNYXGPU>,
    kOverDriver<CF71882>,
    kOverDriver<CIT8716F>,
    kOverDriver<CNBQ7>,
    kOverDriver<CSQ3>,
    kSouthBridge<CSQ4>,
    kOverSystemWmi<CDefaultCDRom>,
    kOverSystemWmi<CDefaultHardDisk>,
    kAlone<CIDEController>,
    kAlone<CSATAController>,
    kAlone<CDefaultKeyboard>,
    kAlone<CDefaultMouse>,
    kAlone<CUSBController>,
    kOverSystemWmi<CDefaultBIOS>,
    kOverSystemWmi<CDefaultBoard>,
    kOverFirmware<CDefaultClockGen>,
    kOverDriver<CDefaultMemory>,
    kAlone<CDefaultMonitor>,
    kOverFirmware<CDefaultPWMController>,
    kOverFirmware<CCustomerPWMController>,
};
static_assert(std::size(kDeviceList) == 31);

}  // namespace

std::span<const CCreateFunction> g_GetDeviceList() { return kDeviceList; }

uint32_t g_GetDeviceListCount() { return static_cast<uint32_t>(std::size(kDeviceList)); }

CDeviceManager& g_GetDeviceManager() {
    static CDeviceManager s_DeviceManager(kDeviceList);
    return s_DeviceManager;
}

}  // namespace vxt
