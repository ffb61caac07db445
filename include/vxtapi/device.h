// The device: what every piece of hardware in the inventory answers to.
#pragma once

#include <cstdint>

namespace vxtapi {

/// Device type numbers. 9, 13, 14 and 22 are reserved: no device returns them.
enum eDeviceType : uint32_t {
    kDeviceCpu = 0,
    kDeviceHtLink = 1,
    kDeviceMemoryController = 2,
    kDeviceGpu = 3,
    kDeviceMemory = 4,
    kDeviceBoard = 5,
    kDeviceHardDisk = 6,
    kDeviceBios = 7,
    kDeviceMonitor = 8,
    kDeviceClockGen = 10,
    kDeviceDefaultPwm = 11,
    kDeviceCustomerPwm = 12,
    kDeviceNorthBridge = 15,
    kDeviceSouthBridge = 16,
    kDeviceEnvironment = 17,
    kDeviceSata = 18,
    kDeviceIde = 19,
    kDeviceUsb = 20,
    kDeviceCdRom = 21,
    kDeviceMouse = 23,
    kDeviceKeyboard = 24,
};

/// Yes, no, or not told.
enum eTold : uint8_t { kNo = 0, kYes = 1, kNotTold = 2 };

/// Base of all devices: ten operations in slots 0 to 9, the type's own operations from slot 10.
///
/// Ownership: the device manager owns every device until its next Refresh or shut-down; hosts borrow the pointer and
/// never delete it. Texts are wide, never null, owned by the device and valid as long as it lives.
/// Threads: a device takes no lock; use it from the thread that started the library unless its type says otherwise.
class CDevice {
public:
    /// Probes for instance `uIndex` (0, 1, 2 ...) and prepares the object for it. Called by the device manager.
    /// False when no such instance exists or it cannot be driven.
    virtual bool Init(uint32_t uIndex) = 0;
    /// Releases what Init acquired. Called by the device manager.
    virtual bool UnInit() = 0;
    /// Model text; for processors the brand string.
    virtual const wchar_t* GetModel() = 0;
    /// Descriptive text.
    virtual const wchar_t* GetDescription() = 0;
    /// Vendor text; empty where the hardware names none.
    virtual const wchar_t* GetVendor() = 0;
    /// Type text, e.g. "CPU"; the word that DeviceList.cfg uses. Types 11 and 12 share theirs.
    virtual const wchar_t* GetTypeName() = 0;
    /// Display name, constant for the class.
    virtual const wchar_t* GetName() = 0;
    virtual eDeviceType GetType() = 0;
    /// The instance index that Init was given.
    virtual uint32_t GetIndex() = 0;
    /// Implementation version of the class as a decimal date YYYYMMDD; 0 or 1 where the class sets none.
    virtual uint32_t GetVersion() = 0;

protected:
    ~CDevice() = default;  // not virtual: a destructor slot here would move every type's own operations
};

}  // namespace vxtapi
