#include "devices/peripherals/storage_descriptor.h"

namespace vxt {

namespace {

// Source: STORAGE_DEVICE_DESCRIPTOR of the Windows driver kit. Numbers have their low byte first.
constexpr size_t kRemovable = 10, kVendor = 12, kProduct = 16, kRevision = 20, kSerialNumber = 24, kBus = 28;
constexpr size_t kNumbers = 36;  ///< bytes before the driver's own and the texts

uint32_t g_Number(std::span<const uint8_t> Bytes, size_t uOffset) {
    return Bytes[uOffset] | Bytes[uOffset + 1] << 8 | Bytes[uOffset + 2] << 16 |
           static_cast<uint32_t>(Bytes[uOffset + 3]) << 24;
}

/// The text whose offset stands at `uField`; 0, and with some drivers FFFFFFFFh, for none. The last one may lack its end.
std::string_view g_Text(std::span<const uint8_t> Bytes, size_t uField) {
    const uint32_t uOffset = g_Number(Bytes, uField);
    if (uOffset < kNumbers || uOffset >= Bytes.size()) return {};
    const std::string_view sBytes(reinterpret_cast<const char*>(Bytes.data()), Bytes.size());
    return sBytes.substr(uOffset, sBytes.find('\0', uOffset) - uOffset);
}

}  // namespace

CStorageDescriptor g_DecodeStorageDescriptor(std::span<const uint8_t> Bytes) {
    if (Bytes.size() < kNumbers) return {};
    return {.uBus = g_Number(Bytes, kBus),
            .bRemovable = Bytes[kRemovable] != 0,
            .Vendor = CDeviceText<40>(g_Text(Bytes, kVendor)),
            .Product = CDeviceText<40>(g_Text(Bytes, kProduct)),
            .Revision = CDeviceText<16>(g_Text(Bytes, kRevision)),
            .SerialNumber = CDeviceText<64>(g_Text(Bytes, kSerialNumber))};
}

}  // namespace vxt
