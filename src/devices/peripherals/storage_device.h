// Hard disks and optical drives.
#pragma once

#include <vxtapi/storage_device.h>

#include "devices/framework/device_base.h"
#include "devices/framework/wide_text.h"
#include "devices/peripherals/ata_identify.h"
#include "devices/peripherals/storage_descriptor.h"
#include "hw/wmi_handler.h"
#include "platform/drive.h"

namespace vxt {

/// What differs between the kinds of drives.
struct CDriveKind {
    CDeviceIdentity Identity;
    const char* pszClass;                    ///< as logged
    const wchar_t* pszInstances;             ///< management class with an instance for each
    const wchar_t *pszPath, *pszPathPrefix;  ///< property by which the drive is opened, and what it lacks in front
    const wchar_t* pszModel;                 ///< property with the name that the system shows
    const char* pszNoun;                     ///< "disk"
    bool bPacketDevice;
};

/// A drive as the management service lists it, asked for its IDENTIFY data. The management service's words stand in for what the
/// drive does not say, then those of its driver.
class CStorageDrive : public CDeviceBase<vxtapi::CStorageDevice> {
public:
    bool Init(uint32_t uIndex) override;
    const wchar_t* GetModel() override { return m_Model.Get(); }
    const wchar_t* GetDescription() override { return m_Description.Get(); }
    const wchar_t* GetVendor() override { return m_Vendor.Get(); }

    bool GetStorageInfo(vxtapi::StorageDeviceInfo* pInfo) override;
    const wchar_t* GetSerialNumber() override { return m_SerialNumber.Get(); }
    const wchar_t* GetFirmware() override { return m_Firmware.Get(); }
    const wchar_t* GetPath() override { return m_Path.Get(); }
    const wchar_t* GetStandard() override { return m_Standard.Get(); }
    const wchar_t* GetFormFactor() override { return m_FormFactor.Get(); }
    uint32_t GetFeatureCount() override;
    bool GetFeature(uint32_t uFeature, vxtapi::StorageDeviceFeature* pFeature) override;
    bool GetIdentifyData(uint8_t* pucBytes, uint32_t& ruSize) override;
    const wchar_t* GetDeviceId() override { return m_Id.Get(); }

protected:
    /// Over a connection to kSystemNamespace, which must outlive the device.
    CStorageDrive(const CDriveKind& rKind, CWmiHandler& rWmi)
        : CDeviceBase(rKind.Identity), m_rKind(rKind), m_rWmi(rWmi) {}
    ~CStorageDrive() = default;

private:
    const char* LogClass() const { return m_rKind.pszClass; }
    void _ReadSystem(const platform::CWmiObject& pInstance);
    void _AskDrive();
    void _TakeTexts();
    void _Describe();
    bool _IsTold() const;
    uint64_t _Bytes() const;

    const CDriveKind& m_rKind;
    CWmiHandler& m_rWmi;
    bool m_bMayOpen = false;   ///< the path is the name of a drive
    bool m_bAnswered = false;  ///< IDENTIFY data came, of whatever worth
    std::array<uint8_t, platform::kIdentifyBytes> m_aucIdentify{};
    CAtaIdentity m_Identity;
    CStorageDescriptor m_Descriptor;
    uint64_t m_ullSystemBytes = 0;
    CWideText<63> m_Path, m_Model, m_SerialNumber, m_Vendor, m_Description;
    CWideText<255> m_Id;
    CWideText<31> m_Firmware, m_Standard, m_FormFactor;
};

inline constexpr CDriveKind kHardDiskKind{
    .Identity = {.eType = vxtapi::kDeviceHardDisk, .pszName = L"Default HardDisk"},
    .pszClass = "CDefaultHardDisk",
    .pszInstances = L"Win32_DiskDrive",
    .pszPath = L"DeviceID",
    .pszPathPrefix = L"",
    .pszModel = L"Model",
    .pszNoun = "disk",
    .bPacketDevice = false,
};
inline constexpr CDriveKind kCDRomKind{
    .Identity = {.eType = vxtapi::kDeviceCdRom, .pszName = L"Default CDRom"},
    .pszClass = "CDefaultCDRom",
    .pszInstances = L"Win32_CDROMDrive",
    .pszPath = L"Drive",
    .pszPathPrefix = L"\\\\.\\",
    .pszModel = L"Name",
    .pszNoun = "optical drive",
    .bPacketDevice = true,
};

class CDefaultHardDisk final : public CStorageDrive {
public:
    explicit CDefaultHardDisk(CWmiHandler& rWmi) : CStorageDrive(kHardDiskKind, rWmi) {}
};
class CDefaultCDRom final : public CStorageDrive {
public:
    explicit CDefaultCDRom(CWmiHandler& rWmi) : CStorageDrive(kCDRomKind, rWmi) {}
};

}  // namespace vxt
