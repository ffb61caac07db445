// The registry of the devices found in the machine.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// Hands out devices by type and index. Obtained from GetDeviceManager(); valid as long as the library is loaded.
/// Threads: look-ups are safe from any thread while no start-up, shut-down or Refresh runs; those take no lock.
class CDeviceManager {
public:
    // Overloads of one name fill slots in declaration order under the Itanium ABI and in reverse order under the
    // Microsoft ABI: both orders below give slot 0 to the one-argument form and slot 1 to the other.
#ifdef _MSC_VER
    virtual CDevice* GetDevice(eDeviceType eType, uint32_t uIndex) = 0;
    virtual CDevice* GetDevice(uint32_t uIndex) = 0;
#else
    /// Device 0 of the `uIndex`-th type present, types in ascending order. With GetDeviceTypeCount it visits one device
    /// of every type. Null (and one log line) when `uIndex` is not below the number of types; null when the type is
    /// present but empty, which happens after a Refresh.
    virtual CDevice* GetDevice(uint32_t uIndex) = 0;
    /// The device of that type and index; null when there is none.
    virtual CDevice* GetDevice(eDeviceType eType, uint32_t uIndex) = 0;
#endif
    /// Devices of all types whose GetName equals `pszName`, case-sensitive. 0 for a null name.
    virtual uint32_t GetDeviceCountByName(const wchar_t* pszName) = 0;
    /// Devices of the type. 0 (and one log line) when the type is absent.
    virtual uint32_t GetDeviceCount(eDeviceType eType) = 0;
    /// Types present.
    virtual uint32_t GetDeviceTypeCount() = 0;
    /// Re-creates disks, optical drives, keyboards and mice, and lets USB and SATA controllers look again.
    /// Borrowed pointers to those kinds are dead afterwards. False when a USB or SATA controller failed.
    virtual bool Refresh() = 0;
    virtual ~CDeviceManager() = default;
};

}  // namespace vxtapi
