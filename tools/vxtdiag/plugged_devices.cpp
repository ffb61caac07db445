#include "plugged_devices.h"

#include <algorithm>

#include "common/text.h"
#include "devices/peripherals/storage_device.h"
#include "hw/wmi_handler.h"
#include "machine_line.h"
#include "platform/device_tree.h"

namespace vxtdiag {

namespace {

using vxtsim::CPluggedDevice;

constexpr size_t kMostText = 255, kMostIds = 16;  // that a machine file holds of one
constexpr uint32_t kMostDevices = 1024, kMostDrives = 64;
constexpr const char *kSystemClass = "system", *kMonitorClass = "monitor", *kDiskClass = "diskdrive",
                     *kOpticalClass = "cdrom";

/// As much as a machine file takes.
std::string g_ShortLine(std::wstring_view sText) { return g_Line(sText.substr(0, kMostText)); }

class CTreeReader {
public:
    explicit CTreeReader(CSnapshot& rSnapshot)
        : m_rSnapshot(rSnapshot), m_hList(vxt::platform::OpenDeviceList(vxt::platform::ESetupClass::kAnyDevice)) {}

    void Read() {
        if (!m_hList) m_rSnapshot.Findings.push_back("the device tree cannot be read");
        std::wstring sId;
        for (uint32_t uDevice = 0; uDevice < kMostDevices && vxt::platform::GetDeviceId(m_hList, uDevice, sId);
             ++uDevice)
            _Add(uDevice, g_ShortLine(sId));
    }

private:
    /// Those of the classes that a machine file knows; most of a tree is the system's own.
    void _Add(uint32_t uDevice, std::string sId) {
        using vxt::platform::EDeviceIds, vxt::platform::EDeviceText;
        const std::string sClass = vxttools::g_Lower(_Text(uDevice, EDeviceText::kClass));
        const bool bKnown = std::ranges::count(vxtsim::kSetupClasses, sClass, &vxtsim::CSetupClassName::sName) != 0;
        auto& rDevices = m_rSnapshot.Machine.Devices;
        if (!bKnown || sClass == kSystemClass || sId.empty() || std::ranges::count(rDevices, sId, &CPluggedDevice::sId))
            return;
        CPluggedDevice& rDevice = rDevices.emplace_back();
        rDevice.sId = std::move(sId);
        rDevice.sClass = sClass;
        rDevice.sDescription = _Text(uDevice, EDeviceText::kDescription);
        rDevice.sFriendlyName = _Text(uDevice, EDeviceText::kFriendlyName);
        rDevice.sManufacturer = _Text(uDevice, EDeviceText::kManufacturer);
        if (std::wstring sParent; vxt::platform::GetDeviceParent(m_hList, uDevice, sParent))
            rDevice.sParent = g_ShortLine(sParent);
        rDevice.HardwareIds = _Ids(uDevice, EDeviceIds::kHardware);
        rDevice.CompatibleIds = _Ids(uDevice, EDeviceIds::kCompatible);
        if (sClass == kMonitorClass) rDevice.Image = _Edid(uDevice);
    }
    std::vector<uint8_t> _Edid(uint32_t uDevice) {
        std::vector<uint8_t> Image(CPluggedDevice::kImage);
        uint32_t uSize = 0;
        const auto Bytes = std::as_writable_bytes(std::span(Image));
        const bool bRead = vxt::platform::ReadDeviceValue(m_hList, uDevice, L"EDID", Bytes, uSize);
        Image.resize(bRead ? uSize : 0);
        return Image;
    }
    std::string _Text(uint32_t uDevice, vxt::platform::EDeviceText eText) {
        std::wstring sText;
        return vxt::platform::GetDeviceText(m_hList, uDevice, eText, sText) ? g_ShortLine(sText) : std::string();
    }
    std::vector<std::string> _Ids(uint32_t uDevice, vxt::platform::EDeviceIds eIds) {
        std::vector<std::wstring> Ids;
        std::vector<std::string> Lines;
        if (!vxt::platform::GetDeviceIds(m_hList, uDevice, eIds, Ids)) return Lines;
        for (const std::wstring& rsId : std::span(Ids).first(std::min(Ids.size(), kMostIds))) {
            Lines.push_back(g_ShortLine(rsId));
            std::ranges::replace(Lines.back(), '|', '/');  // the file's own separator
        }
        return Lines;
    }

    CSnapshot& m_rSnapshot;
    const vxt::platform::CDeviceList m_hList;
};

/// What the tree does not have of a drive.
template <class TDrive> void g_ReadDrives(CSnapshot& rSnapshot, const char* pszClass) {
    constexpr std::string_view kPrefix = R"(\\.\)";
    for (uint32_t uDrive = 0; uDrive < kMostDrives; ++uDrive) {
        TDrive Drive(vxt::g_GetSystemWmi());
        vxtapi::StorageDeviceInfo Info{};
        if (!Drive.Init(uDrive) || !Drive.GetStorageInfo(&Info)) return;
        const std::string sPath = g_ShortLine(Drive.GetPath()), sId = g_ShortLine(Drive.GetDeviceId());
        if (sId.empty()) {
            rSnapshot.Findings.push_back("drive " + sPath + " has no place in the device tree");
            continue;
        }
        auto& rDevices = rSnapshot.Machine.Devices;
        auto it = std::ranges::find(rDevices, sId, &CPluggedDevice::sId);
        if (it == rDevices.end()) {
            it = rDevices.emplace(it);
            it->sId = sId, it->sClass = pszClass;
        }
        if (it->sFriendlyName.empty()) it->sFriendlyName = g_ShortLine(Drive.GetModel());
        if (sPath.starts_with(kPrefix) && sPath.find('\\', kPrefix.size()) == sPath.npos)
            it->sDrive = sPath.substr(kPrefix.size());
        it->sVendor = g_ShortLine(Drive.GetVendor());
        it->sSerial = g_ShortLine(Drive.GetSerialNumber());
        it->sRevision = g_ShortLine(Drive.GetFirmware());
        it->uBus = Info.uBus;
        it->ullBytes = Info.ullBytes;
        it->bRemovable = Info.bRemovable;
        it->Image.resize(vxt::platform::kIdentifyBytes);
        auto uSize = static_cast<uint32_t>(it->Image.size());
        if (!Drive.GetIdentifyData(it->Image.data(), uSize)) it->Image.clear();
        std::rotate(it, std::next(it), rDevices.end());  // drives of a machine file have the numbers of their order
    }
}

}  // namespace

void g_ReadPluggedDevices(CSnapshot& rSnapshot) {
    CTreeReader(rSnapshot).Read();
    if (vxt::g_GetSystemWmi().Connect(vxt::kSystemNamespace)) {  // what prevents it was told of the BIOS
        g_ReadDrives<vxt::CDefaultHardDisk>(rSnapshot, kDiskClass);
        g_ReadDrives<vxt::CDefaultCDRom>(rSnapshot, kOpticalClass);
    }
    vxt::g_GetSystemWmi().Disconnect();
}

}  // namespace vxtdiag
