// Disks, controllers, monitor and input devices.
#pragma once

#include "devices/framework/controller.h"
#include "devices/framework/unbuilt_device.h"
#include "devices/peripherals/board.h"

namespace vxt {

inline constexpr CDeviceIdentity kDefaultCDRomIdentity{.eType = vxtapi::kDeviceCdRom, .pszName = L"Default CDRom"};
inline constexpr CDeviceIdentity kDefaultHardDiskIdentity{.eType = vxtapi::kDeviceHardDisk,
                                                          .pszName = L"Default HardDisk"};
inline constexpr CDeviceIdentity kIDEControllerIdentity{
    .eType = vxtapi::kDeviceIde, .pszName = L"IDE Controller", .uVersion = 20080109};
inline constexpr CDeviceIdentity kSATAControllerIdentity{
    .eType = vxtapi::kDeviceSata, .pszName = L"SATA Controller", .uVersion = 20080109};
inline constexpr CDeviceIdentity kDefaultKeyboardIdentity{.eType = vxtapi::kDeviceKeyboard,
                                                          .pszName = L"Default Keyboard"};
inline constexpr CDeviceIdentity kDefaultMouseIdentity{.eType = vxtapi::kDeviceMouse, .pszName = L"Default Mouse"};
inline constexpr CDeviceIdentity kUSBControllerIdentity{
    .eType = vxtapi::kDeviceUsb, .pszName = L"USB Controller", .uVersion = 20080111};
inline constexpr CDeviceIdentity kDefaultMonitorIdentity{.eType = vxtapi::kDeviceMonitor,
                                                         .pszName = L"Default Monitor"};

class CDefaultCDRom final : public CUnbuiltDevice<kDefaultCDRomIdentity> {};
class CDefaultHardDisk final : public CUnbuiltDevice<kDefaultHardDiskIdentity> {};
class CIDEController final : public CUnbuiltDevice<kIDEControllerIdentity> {};
class CSATAController final : public CUnbuiltDevice<kSATAControllerIdentity, CController> {
public:
    bool RefreshDevices() override { return false; }
};
class CDefaultKeyboard final : public CUnbuiltDevice<kDefaultKeyboardIdentity> {};
class CDefaultMouse final : public CUnbuiltDevice<kDefaultMouseIdentity> {};
class CUSBController final : public CUnbuiltDevice<kUSBControllerIdentity, CController> {
public:
    bool RefreshDevices() override { return false; }
};
class CDefaultMonitor final : public CUnbuiltDevice<kDefaultMonitorIdentity> {};

}  // namespace vxt
