// The firmware's identity.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// Device type 7, index 0 upward: one for each instance of the system's class Win32_BIOS. All texts are read at start-up,
/// have at most 255 characters and are empty where the system has none.
class CBIOS : public CDevice {
public:
    virtual const wchar_t* GetSerialNumber() = 0;  ///< slot 10
    virtual const wchar_t* GetManufacturer() = 0;  ///< slot 11; GetVendor gives the same
    virtual const wchar_t* GetBIOSVersion() = 0;   ///< slot 12: SMBIOS type 0, BIOS version; GetModel gives the same
    virtual const wchar_t* GetReleaseDate() = 0;   ///< slot 13: as the system writes it, "20091204000000.000000+000"
    /// Slot 14: the date text found in physical memory from F0000h, 8-bit; empty where the system does not show that memory.
    virtual const char* GetRawDate() = 0;

protected:
    ~CBIOS() = default;
};

}  // namespace vxtapi
