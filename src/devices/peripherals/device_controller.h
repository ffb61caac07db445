// SATA, IDE and USB controllers.
#pragma once

#include <vxtapi/device_controller.h>

#include <span>

#include "devices/framework/device_base.h"
#include "devices/peripherals/attached_watch.h"
#include "devices/peripherals/tree_device.h"

namespace vxt {

/// What differs between the kinds of controllers.
struct CControllerKind {
    CDeviceIdentity Identity;
    const char* pszClass;  ///< as logged
    platform::ESetupClass eSetupClass;
    std::span<const uint16_t> Classes;  ///< of the PCI bus, class and subclass
    bool bOthers;                       ///< those that are not of these
};

class CSystemController : public CDeviceBase<vxtapi::CDeviceController> {
public:
    static constexpr std::chrono::milliseconds kInterval{2000};  ///< between two looks at the tree

    bool Init(uint32_t uIndex) override;
    bool UnInit() override;
    const wchar_t* GetModel() override { return m_Device.Name.Get(); }
    const wchar_t* GetVendor() override { return m_Device.Manufacturer.Get(); }

    bool RefreshDevices() override;
    bool GetControllerInfo(vxtapi::ControllerInfo* pInfo) override;
    const wchar_t* GetDeviceId() override { return m_Device.Id.Get(); }
    uint32_t GetAttachedCount() override;
    bool GetAttached(uint32_t uDevice, vxtapi::AttachedDevice* pDevice) override;
    uint32_t GetChanges() override { return m_Watch.Changes(); }

protected:
    CSystemController(const CControllerKind& rKind, std::chrono::milliseconds Interval)
        : CDeviceBase(rKind.Identity), m_rKind(rKind), m_Watch(Interval) {}
    ~CSystemController() = default;

private:
    const char* LogClass() const { return m_rKind.pszClass; }
    bool _IsOfKind(std::wstring_view sId, uint32_t uClassCode) const;

    const CControllerKind& m_rKind;
    CTreeDevice m_Device;
    vxtapi::ControllerInfo m_Info{};
    CAttachedWatch m_Watch;  ///< last: its thread ends before anything else goes
};

// Class 01 is mass storage (05 ATA, 06 SATA, 04 RAID, whose disks are SATA ones here), 0C03 USB.
inline constexpr uint16_t kSataClasses[] = {0x0106, 0x0104}, kUsbClasses[] = {0x0C03};
inline constexpr CControllerKind kIDEControllerKind{
    .Identity = {.eType = vxtapi::kDeviceIde, .pszName = L"IDE Controller", .uVersion = 20080109},
    .pszClass = "CIDEController",
    .eSetupClass = platform::ESetupClass::kDiskController,
    .Classes = kSataClasses,
    .bOthers = true,
};
inline constexpr CControllerKind kSATAControllerKind{
    .Identity = {.eType = vxtapi::kDeviceSata, .pszName = L"SATA Controller", .uVersion = 20080109},
    .pszClass = "CSATAController",
    .eSetupClass = platform::ESetupClass::kDiskController,
    .Classes = kSataClasses,
    .bOthers = false,
};
inline constexpr CControllerKind kUSBControllerKind{
    .Identity = {.eType = vxtapi::kDeviceUsb, .pszName = L"USB Controller", .uVersion = 20080111},
    .pszClass = "CUSBController",
    .eSetupClass = platform::ESetupClass::kUsb,
    .Classes = kUsbClasses,
    .bOthers = false,
};

template <const CControllerKind& rKind> class CControllerOf final : public CSystemController {
public:
    explicit CControllerOf(std::chrono::milliseconds Interval = kInterval) : CSystemController(rKind, Interval) {}
};
using CIDEController = CControllerOf<kIDEControllerKind>;
using CSATAController = CControllerOf<kSATAControllerKind>;
using CUSBController = CControllerOf<kUSBControllerKind>;

}  // namespace vxt
