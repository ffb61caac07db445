#include "drive_classes.h"

#include <algorithm>

namespace vxtsim {

struct CDriveClass {
    std::string_view sName, sSetupClass;
    const char* pszPathProperty;  ///< by what is there the drive is opened
    const char* pszPathPrefix;
};

namespace {

constexpr CDriveClass kClasses[] = {
    {"Win32_DiskDrive", "diskdrive", "DeviceID", R"(\\.\)"},
    {"Win32_CDROMDrive", "cdrom", "Drive", ""},
};

struct CBus {
    uint32_t uNumber;
    const char* pszInterface;
};
constexpr CBus kBuses[] = {{2, "IDE"}, {3, "IDE"}, {4, "1394"}, {7, "USB"}, {11, "IDE"}};

}  // namespace

const CDriveClass* g_FindDriveClass(std::string_view sClass) {
    const auto pClass = std::ranges::find(kClasses, sClass, &CDriveClass::sName);
    return pClass == std::end(kClasses) ? nullptr : pClass;
}

std::vector<std::map<std::string, CWmiValue>> g_DriveInstances(const CDriveClass& rClass,
                                                               std::span<const CPluggedDevice> Devices,
                                                               uint64_t ullNanoseconds) {
    std::vector<std::map<std::string, CWmiValue>> Instances;
    for (const CPluggedDevice& rDevice : Devices) {
        if (rDevice.sClass != rClass.sSetupClass || rDevice.sDrive.empty() || !rDevice.IsThere(ullNanoseconds))
            continue;
        const auto pBus = std::ranges::find(kBuses, rDevice.uBus, &CBus::uNumber);
        auto& rProperties = Instances.emplace_back();
        const auto Put = [&](const char* pszName, std::string sText) {
            rProperties[pszName] = CWmiValue::Text(std::move(sText));
        };
        Put("DeviceID", rDevice.sId);
        Put(rClass.pszPathProperty, rClass.pszPathPrefix + rDevice.sDrive);
        Put("PNPDeviceID", rDevice.sId);
        Put("InterfaceType", pBus == std::end(kBuses) ? "SCSI" : pBus->pszInterface);
        Put(rClass.sSetupClass == "cdrom" ? "Name" : "Model", rDevice.sFriendlyName);
        Put("Manufacturer", rDevice.sManufacturer);
        if (rDevice.ullBytes) Put("Size", std::to_string(rDevice.ullBytes));
    }
    return Instances;
}

}  // namespace vxtsim
