// The system's tree of devices that are there now (SetupAPI and the configuration manager), one function a call.
//
// A list is a snapshot of one setup class: devices that come or go do not change it, and what is asked of a device that is
// gone fails. Texts come from the registry, unchecked: any length up to 32767 characters, any content.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/owned_handle.h"

namespace vxt::platform {

/// The setup classes that somebody here asks for; kAnyDevice: all of them.
enum class ESetupClass : uint8_t { kAnyDevice, kDiskController, kUsb, kKeyboard, kMouse, kMonitor };

void CloseDeviceList(uintptr_t uHandle);
using CDeviceList = COwnedHandle<CloseDeviceList>;

/// The present devices of a class, in the system's order. A class without devices is an empty list, no failure.
CDeviceList OpenDeviceList(ESetupClass eClass);
/// The device instance ID ("PCI\VEN_1002&DEV_4391...\3&267A616A&0&88") of device `uIndex`, counted from 0. False beyond the last
/// one, with kErrorNoMoreItems.
bool GetDeviceId(const CDeviceList& rList, uint32_t uIndex, std::wstring& rsId);

/// kClass: the setup class by its name, "HDC", "Monitor".
enum class EDeviceText : uint8_t { kDescription, kFriendlyName, kManufacturer, kClass };
/// False also when the device has no such text.
bool GetDeviceText(const CDeviceList& rList, uint32_t uIndex, EDeviceText eText, std::wstring& rsText);
enum class EDeviceIds : uint8_t { kHardware, kCompatible };
/// The IDs by which drivers are found, the most special first. False also when there are none.
bool GetDeviceIds(const CDeviceList& rList, uint32_t uIndex, EDeviceIds eIds, std::vector<std::wstring>& rIds);
/// The instance ID of the device that it is attached to. False at the root, and where the system does not tell.
bool GetDeviceParent(const CDeviceList& rList, uint32_t uIndex, std::wstring& rsParentId);
/// A value of the device's own registry key ("Device Parameters"), for instance "EDID". False when it is absent or longer than
/// `Data`; `ruSize` becomes its length.
bool ReadDeviceValue(const CDeviceList& rList, uint32_t uIndex, const wchar_t* pszValue, std::span<std::byte> Data,
                     uint32_t& ruSize);

}  // namespace vxt::platform
