#include "drive_answers.h"

#include <algorithm>

namespace vxtsim {

namespace {

constexpr std::string_view kOpticalClass = "cdrom";
constexpr uint8_t kIdentifyDevice = 0xEC, kIdentifyPacketDevice = 0xA1;

// STORAGE_DEVICE_DESCRIPTOR: 36 bytes and one of the driver's own, rounded up. The texts stand behind it, their offsets in it.
constexpr uint32_t kDescriptorBytes = 40;
enum EField : size_t {
    kVersion = 0,
    kSize = 4,
    kDeviceType = 8,
    kRemovable = 10,
    kCommandQueueing = 11,
    kVendorId = 12,
    kProductId = 16,
    kRevision = 20,
    kSerialNumber = 24,
    kBusType = 28,
};
constexpr uint8_t kDirectAccess = 0, kCdRom = 5;  // as SCSI numbers what a device is
constexpr uint32_t kSerialAta = 11;

/// What the system puts behind a drive's own name for the one that it shows.
constexpr std::string_view kShownSuffixes[] = {" ATA Device", " USB Device", " SCSI Disk Device", " SCSI CdRom Device"};

std::string_view g_Product(const CPluggedDevice& rDevice) {
    std::string_view sName = rDevice.sFriendlyName;
    for (const std::string_view sSuffix : kShownSuffixes)
        if (sName.ends_with(sSuffix)) sName.remove_suffix(sSuffix.size());
    const std::string sVendor = rDevice.sVendor + " ";
    if (sName.starts_with(sVendor)) sName.remove_prefix(sVendor.size());
    return sName;
}

void g_Put(std::vector<uint8_t>& rBytes, size_t uOffset, size_t uValue) {
    for (size_t i = 0; i < 4; ++i) rBytes[uOffset + i] = static_cast<uint8_t>(uValue >> 8 * i);
}

char g_Capital(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

bool g_TellsDrives(std::span<const CPluggedDevice> Devices) {
    return std::ranges::any_of(Devices, [](const CPluggedDevice& rDevice) { return !rDevice.sDrive.empty(); });
}

const CPluggedDevice* g_FindDrive(std::span<const CPluggedDevice> Devices, std::string_view sName,
                                  uint64_t ullNanoseconds) {
    const auto it = std::ranges::find_if(Devices, [&](const CPluggedDevice& rDevice) {
        return !sName.empty() && rDevice.IsThere(ullNanoseconds) &&
               std::ranges::equal(rDevice.sDrive, sName, {}, g_Capital, g_Capital);
    });
    return it == Devices.end() ? nullptr : &*it;
}

std::span<const uint8_t> g_IdentifyAnswer(const CPluggedDevice& rDevice, uint8_t ucCommand) {
    const bool bKnown = ucCommand == (rDevice.sClass == kOpticalClass ? kIdentifyPacketDevice : kIdentifyDevice);
    const std::span<const uint8_t> Image(rDevice.Image);
    return bKnown && Image.size() >= kIdentifyBytes ? Image.first(kIdentifyBytes) : std::span<const uint8_t>();
}

std::vector<uint8_t> g_StorageDescriptor(const CPluggedDevice& rDevice) {
    std::vector<uint8_t> Bytes(kDescriptorBytes);
    g_Put(Bytes, kVersion, kDescriptorBytes);
    Bytes[kDeviceType] = rDevice.sClass == kOpticalClass ? kCdRom : kDirectAccess;
    Bytes[kRemovable] = rDevice.bRemovable;
    Bytes[kCommandQueueing] = rDevice.uBus == kSerialAta;
    g_Put(Bytes, kBusType, rDevice.uBus);
    const auto PutText = [&Bytes](size_t uField, std::string_view sText) {
        if (sText.empty()) return;  // no text: offset 0
        g_Put(Bytes, uField, Bytes.size());
        Bytes.insert(Bytes.end(), sText.begin(), sText.end());
        Bytes.push_back(0);
    };
    PutText(kVendorId, rDevice.sVendor);
    PutText(kProductId, g_Product(rDevice));
    PutText(kRevision, rDevice.sRevision);
    PutText(kSerialNumber, rDevice.sSerial);
    g_Put(Bytes, kSize, Bytes.size());
    return Bytes;
}

}  // namespace vxtsim
