// The text of each device type: the word that hosts show and DeviceList.cfg lists.
#pragma once

#include <vxtapi/device.h>

namespace vxt {

constexpr const wchar_t* g_TypeText(vxtapi::eDeviceType eType) {
    constexpr struct {
        vxtapi::eDeviceType eType;
        const wchar_t* pszText;
    } kRows[] = {
        {vxtapi::kDeviceCpu, L"CPU"},
        {vxtapi::kDeviceHtLink, L"HyperTransport(TM) Link"},
        {vxtapi::kDeviceMemoryController, L"Memory Controller"},
        {vxtapi::kDeviceGpu, L"GPU"},
        {vxtapi::kDeviceMemory, L"Memory"},
        {vxtapi::kDeviceBoard, L"Board"},
        {vxtapi::kDeviceHardDisk, L"HardDisk"},
        {vxtapi::kDeviceBios, L"BIOS"},
        {vxtapi::kDeviceMonitor, L"Monitor"},
        {vxtapi::kDeviceClockGen, L"ClockGen"},
        {vxtapi::kDeviceDefaultPwm, L"PWMController"},
        {vxtapi::kDeviceCustomerPwm, L"PWMController"},  // Kept: one list entry admits both kinds
        {vxtapi::kDeviceNorthBridge, L"Northbridge"},
        {vxtapi::kDeviceSouthBridge, L"Southbridge"},
        {vxtapi::kDeviceEnvironment, L"EnvironmentController"},
        {vxtapi::kDeviceSata, L"SATA Controller"},
        {vxtapi::kDeviceIde, L"IDE Controller"},
        {vxtapi::kDeviceUsb, L"USB Controller"},
        {vxtapi::kDeviceCdRom, L"CDRom"},
        {vxtapi::kDeviceMouse, L"Mouse"},
        {vxtapi::kDeviceKeyboard, L"Keyboard"},
    };
    for (const auto& rRow : kRows)
        if (rRow.eType == eType) return rRow.pszText;
    return L"";
}

}  // namespace vxt
