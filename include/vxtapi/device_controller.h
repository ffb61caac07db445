// Controllers whose attached devices come and go.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// A controller on the PCI bus. 0 where the system does not say.
struct ControllerInfo {
    uint32_t uPciVendor, uPciDevice;
    uint32_t uClassCode;  ///< 24 bits: class, subclass, programming interface: 010601h is AHCI, 0C0320h EHCI
};

/// A device behind a controller; texts are cut to fit and always end with a zero.
struct AttachedDevice {
    wchar_t szName[128];  ///< as the system shows it
    wchar_t szId[256];    ///< in the system's device tree: a device keeps it as long as it stays where it is
    uint32_t uDepth;      ///< 0: at the controller itself, 1: behind such a device (a hub) ...
};

/// Device types 18 (SATA), 19 (IDE) and 20 (USB), index 0 upward: the controllers of the system's device tree. GetModel is the
/// system's name for it, GetVendor its word for the maker.
///
/// What is attached is read with the first question for it. From then on until UnInit a thread of the library's own looks
/// again every two seconds, so that the list is never older; GetChanges tells cheaply whether it is another one.
///
/// Threads: every operation but Init and UnInit may be called from any thread, several at a time.
class CDeviceController : public CDevice {
public:
    /// Slot 10: looks now for what is attached. False when the system does not tell; the list stays then. Called by the device
    /// manager's Refresh for SATA and USB.
    virtual bool RefreshDevices() = 0;
    virtual bool GetControllerInfo(ControllerInfo* pInfo) = 0;  ///< slot 11: false only for a null pointer
    virtual const wchar_t* GetDeviceId() = 0;                   ///< slot 12: in the system's device tree
    virtual uint32_t GetAttachedCount() = 0;                    ///< slot 13: 0 also when the system does not tell
    /// Slot 14: each device follows the one that it is behind. False beyond the last one, which may be at once after a
    /// count, when something was taken away.
    virtual bool GetAttached(uint32_t uDevice, AttachedDevice* pDevice) = 0;
    /// Slot 15: goes up by one whenever the list has become another one; 0 before the first question.
    virtual uint32_t GetChanges() = 0;

protected:
    ~CDeviceController() = default;
};

}  // namespace vxtapi
