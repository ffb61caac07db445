// What the system's driver tells of a drive (STORAGE_DEVICE_DESCRIPTOR).
#pragma once

#include <cstdint>
#include <span>

#include "devices/peripherals/device_text.h"

namespace vxt {

/// Empty texts: the driver does not tell.
struct CStorageDescriptor {
    uint32_t uBus = 0;  ///< STORAGE_BUS_TYPE
    bool bRemovable = false;
    CDeviceText<40> Vendor, Product;
    CDeviceText<16> Revision;
    CDeviceText<64> SerialNumber;
};

/// Decodes the bytes that came. Any input is allowed: an offset that leads out of them, or into the numbers, is no text. Takes no
/// memory. Threads: any.
CStorageDescriptor g_DecodeStorageDescriptor(std::span<const uint8_t> Bytes);

}  // namespace vxt
