// Hard disks and optical drives.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// What to think of a drive's IDENTIFY data. Behind the last three nothing of them is told.
enum eIdentifyVerdict : uint32_t {
    kIdentifyRight = 0,
    kIdentifyUnsigned = 1,    ///< no checksum, as before ATA/ATAPI-5
    kIdentifyIncomplete = 2,  ///< the drive has to spin up before it knows everything
    kIdentifyWrongSum = 3,    ///< the checksum is wrong: nothing is certain
    kIdentifyBlank = 4,       ///< all bytes 00h or all FFh
    kIdentifyCut = 5,         ///< fewer than 512 bytes came
    kIdentifyNone = 6,        ///< the drive was not asked or did not answer: no rights, or no ATA drive
};

/// What a drive says of itself. 0 where nobody says.
struct StorageDeviceInfo {
    uint32_t uVerdict;  ///< eIdentifyVerdict
    uint32_t
        uBus;  ///< how it is attached, as the system numbers it (STORAGE_BUS_TYPE): 1 SCSI, 2 ATAPI, 3 ATA, 7 USB, 11 SATA
    uint64_t ullBytes;    ///< capacity: the drive's number, else the system's
    uint64_t ullSectors;  ///< by the widest number of the IDENTIFY data
    uint64_t ullWorldWideName;
    uint32_t uLogicalSectorBytes;  ///< 0: not told, which means 512
    uint32_t uPhysicalSectorBytes;
    uint32_t uBufferBytes;
    uint32_t uRotationRate;                                  ///< per minute; 0 also for solid state
    uint32_t uCylinders, uHeads, uSectorsPerTrack;           ///< default geometry; a large disk answers 16383, 16, 63
    uint32_t uSataGenerations;                               ///< bit n: generation n (1: 1.5, 2: 3, 3: 6 Gbit/s)
    uint32_t uSataGeneration;                                ///< in use
    uint32_t uPioModes, uMultiwordDmaModes, uUltraDmaModes;  ///< bit n: mode n is supported
    int32_t nMultiwordDmaMode, nUltraDmaMode;                ///< in use; -1: another kind is, or not told
    uint32_t uQueueDepth;                                    ///< commands at a time, where queuing is supported
    uint8_t bSolidState;                                     ///< eTold
    uint8_t bRemovable;
    uint8_t bSecurityEnabled, bSecurityLocked, bSecurityFrozen;  ///< eTold
    uint8_t bDoubtful;  ///< the data have no checksum, and the model in them is no text: chance may have made them
    uint8_t abUnused[6];
};

/// A feature of the ATA command set.
struct StorageDeviceFeature {
    const char* pszName;  ///< e.g. "SMART"; lives as long as the library
    uint8_t bSupported;   ///< eTold
    uint8_t bEnabled;     ///< eTold; kNotTold also where it is not supported, or no bit tells
    uint8_t abUnused[6];
};

/// Device types 6 (disks) and 21 (optical drives), index 0 upward: one for each instance of the system's classes Win32_DiskDrive and
/// Win32_CDROMDrive. The drive itself is asked for its IDENTIFY data (ATA/ATAPI Command Set, IDENTIFY DEVICE and IDENTIFY
/// PACKET DEVICE) and where it gives none, for instance behind a USB bridge, texts and capacity come from the system.
///
/// GetModel is the drive's model, GetDescription a text such as "SATA disk, 500.1 GB", GetVendor the system's word for its maker,
/// mostly empty. Everything is read at start-up and by the device manager's Refresh, which makes these devices anew: pointers
/// to them end there.
class CStorageDevice : public CDevice {
public:
    virtual bool GetStorageInfo(StorageDeviceInfo* pInfo) = 0;  ///< slot 10: false only for a null pointer
    virtual const wchar_t* GetSerialNumber() = 0;               ///< slot 11: empty where nobody says, as all texts here
    virtual const wchar_t* GetFirmware() = 0;                   ///< slot 12: its revision
    virtual const wchar_t* GetPath() = 0;        ///< slot 13: by which the system opens it, "\\.\PHYSICALDRIVE0"
    virtual const wchar_t* GetStandard() = 0;    ///< slot 14: newest one that it follows, "ATA8-ACS"
    virtual const wchar_t* GetFormFactor() = 0;  ///< slot 15: "3.5 inch"
    virtual uint32_t GetFeatureCount() = 0;      ///< slot 16: 0 where no IDENTIFY data are told
    virtual bool GetFeature(uint32_t uFeature,
                            StorageDeviceFeature* pFeature) = 0;  ///< slot 17: false beyond the last one
    /// Slot 18: the data themselves, 512 bytes, as they came. `ruSize` is the buffer's size and becomes their number. False,
    /// and nothing written, when it is less than 512 or there are none.
    virtual bool GetIdentifyData(uint8_t* pucBytes, uint32_t& ruSize) = 0;
    /// Slot 19: in the system's device tree, by which the controller that it is attached to lists it; empty where nobody says.
    virtual const wchar_t* GetDeviceId() = 0;

protected:
    ~CStorageDevice() = default;
};

}  // namespace vxtapi
