// Keyboards and mice.
#pragma once

#include <vxtapi/input_device.h>

#include "devices/framework/device_base.h"
#include "devices/peripherals/tree_device.h"

namespace vxt {

/// What differs between the kinds of input devices.
struct CInputKind {
    CDeviceIdentity Identity;
    const char* pszClass;  ///< as logged
    platform::ESetupClass eSetupClass;
};

class CSystemInputDevice : public CDeviceBase<vxtapi::CInputDevice> {
public:
    bool Init(uint32_t uIndex) override;
    const wchar_t* GetModel() override { return m_Device.Name.Get(); }
    const wchar_t* GetVendor() override { return m_Device.Manufacturer.Get(); }
    const wchar_t* GetDeviceId() override { return m_Device.Id.Get(); }
    const wchar_t* GetConnection() override { return m_Connection.Get(); }

protected:
    explicit CSystemInputDevice(const CInputKind& rKind) : CDeviceBase(rKind.Identity), m_rKind(rKind) {}
    ~CSystemInputDevice() = default;

private:
    const char* LogClass() const { return m_rKind.pszClass; }

    const CInputKind& m_rKind;
    CTreeDevice m_Device;
    CWideText<31> m_Connection;
};

inline constexpr CInputKind kKeyboardKind{
    .Identity = {.eType = vxtapi::kDeviceKeyboard, .pszName = L"Default Keyboard"},
    .pszClass = "CDefaultKeyboard",
    .eSetupClass = platform::ESetupClass::kKeyboard};
inline constexpr CInputKind kMouseKind{.Identity = {.eType = vxtapi::kDeviceMouse, .pszName = L"Default Mouse"},
                                       .pszClass = "CDefaultMouse",
                                       .eSetupClass = platform::ESetupClass::kMouse};

class CDefaultKeyboard final : public CSystemInputDevice {
public:
    CDefaultKeyboard() : CSystemInputDevice(kKeyboardKind) {}
};
class CDefaultMouse final : public CSystemInputDevice {
public:
    CDefaultMouse() : CSystemInputDevice(kMouseKind) {}
};

}  // namespace vxt
