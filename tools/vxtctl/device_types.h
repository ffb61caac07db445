// The device types as command lines and stable paths spell them.
#pragma once

#include <vxtapi/device.h>

#include <string>

namespace vxtctl {

struct CDeviceTypeName {
    vxtapi::eDeviceType eType;
    const char* pszWord;
};

/// Ascending. The two kinds of voltage controller share their type text in the library, not their word here.
inline constexpr CDeviceTypeName kDeviceTypes[] = {
    {vxtapi::kDeviceCpu, "cpu"},
    {vxtapi::kDeviceHtLink, "ht-link"},
    {vxtapi::kDeviceMemoryController, "memory-controller"},
    {vxtapi::kDeviceGpu, "gpu"},
    {vxtapi::kDeviceMemory, "memory"},
    {vxtapi::kDeviceBoard, "board"},
    {vxtapi::kDeviceHardDisk, "hard-disk"},
    {vxtapi::kDeviceBios, "bios"},
    {vxtapi::kDeviceMonitor, "monitor"},
    {vxtapi::kDeviceClockGen, "clock-gen"},
    {vxtapi::kDeviceDefaultPwm, "pwm"},
    {vxtapi::kDeviceCustomerPwm, "custom-pwm"},
    {vxtapi::kDeviceNorthBridge, "north-bridge"},
    {vxtapi::kDeviceSouthBridge, "south-bridge"},
    {vxtapi::kDeviceEnvironment, "environment"},
    {vxtapi::kDeviceSata, "sata"},
    {vxtapi::kDeviceIde, "ide"},
    {vxtapi::kDeviceUsb, "usb"},
    {vxtapi::kDeviceCdRom, "cd-rom"},
    {vxtapi::kDeviceMouse, "mouse"},
    {vxtapi::kDeviceKeyboard, "keyboard"},
};

/// "/cpu/0"
std::string g_DevicePath(vxtapi::eDeviceType eType, uint32_t uIndex);

}  // namespace vxtctl
