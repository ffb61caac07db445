// Machine files: one PC as plain text, by what a person can dump from a real one.
//
// docs/machine_files.md describes every section and key; sections/ reads and writes them.
#pragma once

#include <compare>
#include <string_view>
#include <utility>

#include "wmi_value.h"

namespace vxtsim {

inline constexpr uint32_t kAllCores = 0xFFFFFFFF;

struct CPciAddress {
    uint8_t ucBus, ucDevice, ucFunction;
    auto operator<=>(const CPciAddress&) const = default;  // NOLINT(modernize-use-nullptr): takes 0 for a pointer
};

struct CCpuidResult {
    uint32_t uEax = 0, uEbx = 0, uEcx = 0, uEdx = 0;
    bool operator==(const CCpuidResult&) const = default;
};

/// One instance of a management class.
struct CWmiInstance {
    std::string sNamespace, sClass;  ///< the namespace in small letters
    std::map<std::string, CWmiValue> Properties;
    bool operator==(const CWmiInstance&) const = default;
};

/// A tunable object of the firmware.
struct CFirmwareObject {
    uint32_t uId = 0;
    std::string sName;
    uint32_t uProperty = 0;
    int32_t nValue = 0;
    std::vector<int32_t> Values;  ///< legal ones; none: see Info
    std::vector<uint32_t> Info;   ///< the first two are the limits, unless both are 0
    int32_t nStatus = 0;          ///< what reading and setting answer, when it is not 0
    bool bStuck = false;
    bool operator==(const CFirmwareObject&) const = default;
};

/// A setup item of the firmware.
struct CFirmwareItem {
    static constexpr size_t kNameBytes = 64, kOptions = 20, kOptionBytes = 22;
    std::string sName;
    uint16_t usValue = 0;
    std::vector<std::string> Options;
    bool operator==(const CFirmwareItem&) const = default;
};

/// What a method of the firmware answers in place of the right answer.
struct CFirmwareAnswer {
    std::map<std::string, std::optional<CWmiValue>> Properties;  ///< without a value: the property is missing
    bool bFails = false;
    uint32_t uMilliseconds = 0;  ///< of virtual time that the method takes
    bool operator==(const CFirmwareAnswer&) const = default;
};

struct CFirmwareDescription {
    static constexpr size_t kVendorBytes = 64;
    int32_t nVersion = 1;
    std::vector<uint32_t> Commands{0x00030001, 0x00030002, 0x00030003, 0x00030004, 0x00040001, 0x00040002};
    std::string sVendor;
    uint8_t ucGraphics = 0, ucGraphicsPresent = 0;
    bool bStaticMethods = false;
    std::vector<CFirmwareObject> Objects;
    std::vector<CFirmwareItem> Items;
    std::map<uint32_t, std::vector<uint8_t>> Results;  ///< by command code
    std::map<std::string, CFirmwareAnswer> Answers;    ///< by method
    bool operator==(const CFirmwareDescription&) const = default;
};

/// What can be dumped of a Super I/O chip: its global registers, those of a logical device, its hardware monitor's. Each
/// dump begins at register 0, whatever the first one is that the part has.
struct CSuperIoPart {
    static constexpr size_t kGlobals = 0x30, kRegisters = 0x100;  ///< a device's follow the global ones
    static constexpr uint8_t kMonitorDevice = 4;
    enum EKind : uint8_t { kGlobal, kDevice, kMonitor };

    uint16_t usPort;  ///< of its configuration
    EKind eKind = kGlobal;
    uint8_t ucDevice = 0;
    auto operator<=>(const CSuperIoPart&) const = default;  // NOLINT(modernize-use-nullptr): takes 0 for a pointer
};

/// Where a fan is connected: a Super I/O chip's configuration port or an index port, and which tachometer there.
struct CFanPlace {
    uint16_t usPort;
    uint8_t ucFan;
    auto operator<=>(const CFanPlace&) const = default;  // NOLINT(modernize-use-nullptr): takes 0 for a pointer
};
struct CFan {
    uint32_t uFullSpeed = 0;  ///< RPM at full duty
    uint32_t uStart = 20;     ///< percent of duty below which it stands still
    int32_t nIdleSpeed = -1;  ///< RPM to which the dumped temperatures belong; -1: as the tachometer says
    bool operator==(const CFan&) const = default;
};

/// A device of the system's device tree, from when to when it is there, and what it says of itself.
struct CPluggedDevice {
    static constexpr size_t kImage = 32'768;  ///< an EDID with all its extensions
    std::string sId;                          ///< "PCI\\VEN_1002&DEV_4391...\\3&267A616A&0&88"
    std::string sClass;                       ///< setup class, in small letters
    std::string sDescription, sFriendlyName, sManufacturer;
    std::string sParent;  ///< ID of the device that it is attached to; empty: the root
    std::vector<std::string> HardwareIds, CompatibleIds;
    std::string sDrive;                       ///< a drive's name, "PHYSICALDRIVE0"; else empty
    std::string sVendor, sSerial, sRevision;  ///< a drive's, as the system's driver tells them
    uint32_t uBus = 0;                        ///< a drive's, as the system's driver numbers it: 3 ATA, 7 USB, 11 SATA
    uint64_t ullBytes = 0;                    ///< a drive's
    bool bRemovable = false;                  ///< likewise
    std::vector<uint8_t> Image;               ///< a monitor's EDID, a drive's IDENTIFY data
    uint32_t uFrom = 0, uUntil = 0;           ///< seconds since power-on; until 0: for good

    bool IsThere(uint64_t ullNanoseconds) const {
        constexpr uint64_t kSecond = 1'000'000'000;
        return ullNanoseconds >= uFrom * kSecond && (uUntil == 0 || ullNanoseconds < uUntil * kSecond);
    }
    bool operator==(const CPluggedDevice&) const = default;
};
/// What a device's class may be, with the number by which the system knows it.
struct CSetupClassName {
    std::string_view sName;
    const char* pszGuid;
};
inline constexpr CSetupClassName kSetupClasses[] = {
    {"hdc", "{4d36e96a-e325-11ce-bfc1-08002be10318}"},      {"usb", "{36fc9e60-c465-11cf-8056-444553540000}"},
    {"keyboard", "{4d36e96b-e325-11ce-bfc1-08002be10318}"}, {"mouse", "{4d36e96f-e325-11ce-bfc1-08002be10318}"},
    {"monitor", "{4d36e96e-e325-11ce-bfc1-08002be10318}"},  {"diskdrive", "{4d36e967-e325-11ce-bfc1-08002be10318}"},
    {"cdrom", "{4d36e965-e325-11ce-bfc1-08002be10318}"},    {"display", "{4d36e968-e325-11ce-bfc1-08002be10318}"},
    {"hidclass", "{745a17a0-74d3-11d0-b6fe-00a0c90f57da}"}, {"system", "{4d36e97d-e325-11ce-bfc1-08002be10318}"},
};

/// A display adapter with its driver.
struct CDisplayAdapter {
    std::string sName;      ///< of the adapter
    std::string sId;        ///< "PCI\\VEN_1002&DEV_9614..."
    uint32_t uOutputs = 1;  ///< displays that the system counts
    bool bAnswers = false;  ///< its driver knows the escape; what follows is told by that alone
    bool bIntegrated = false;
    uint32_t uClock = 0;                            ///< kHz of the engine
    uint32_t uLowest = 0, uHighest = 0, uStep = 0;  ///< kHz; all 0: the driver does not say
    bool bStuck = false;                            ///< takes another clock, and keeps the old one
    bool operator==(const CDisplayAdapter&) const = default;
};

/// What a machine file says. Plain data: equal files give equal descriptions.
struct CMachineDescription {
    std::string sName;
    std::string sStateOf;         ///< of a running PC: the name or file of the machine that was switched on; else empty
    uint64_t ullStateDigest = 0;  ///< and its g_Digest; 0: not known yet
    uint32_t uCores = 1;
    double dReferenceMHz = 200.0;
    std::vector<uint8_t> Loads;          ///< percent of time each core is busy; else none
    uint32_t uLoadPeriod = 0;            ///< seconds of one swing of the loads; 0: they are steady
    uint32_t uMaxCoreClock = 0;          ///< MHz up to which cores compute correctly; 0: at any clock
    double dMaxCoreClockVolts = 0;       ///< core voltage at which that holds; 0: at any voltage
    uint32_t uMaxCoreClockSlope = 1000;  ///< MHz that a volt more gives
    uint32_t uHangCoreClock = 0;         ///< MHz above which the PC hangs, where uMaxCoreClock holds; 0: never
    std::vector<uint32_t> IdleClocks;    ///< kHz to which dumped temperatures belong; else now's
    std::map<std::pair<uint32_t, uint32_t>, CCpuidResult> Cpuid;     ///< by leaf and subleaf
    std::map<std::pair<uint32_t, uint32_t>, uint64_t> Msr;           ///< by core (or kAllCores) and index
    std::map<CPciAddress, std::vector<uint8_t>> Pci;                 ///< 256 or 4096 bytes each
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> DramData;      ///< by pair and index
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> LinkPhy;       ///< by link and index
    std::map<uint64_t, std::vector<uint8_t>> Memory;                 ///< by physical address
    std::vector<std::pair<std::string, std::vector<uint8_t>>> Acpi;  ///< signature and table, in file order
    std::map<uint16_t, uint8_t> Ports;                               ///< plain readable and writable ports
    std::map<uint8_t, std::vector<uint8_t>> Smbus;                   ///< by 7-bit address: up to 256 registers
    std::map<uint16_t, std::vector<uint8_t>> IndexPorts;             ///< by index port: up to 256 registers
    std::map<CSuperIoPart, std::vector<uint8_t>> SuperIo;            ///< dumps
    std::map<CFanPlace, CFan> Fans;
    std::map<uint32_t, CDisplayAdapter> Displays;  ///< by number
    std::vector<CPluggedDevice> Devices;           ///< in file order
    std::map<std::string, std::string> Registry;   ///< "key\\path!value" -> text of the line
    std::vector<CWmiInstance> Wmi;                 ///< in file order
    std::optional<CFirmwareDescription> oFirmware;
    /// What is said of a register for this core alone: if nothing yet, what is said for all.
    uint64_t& CoreMsr(uint32_t uCore, uint32_t uIndex) {
        const auto itAll = Msr.find({kAllCores, uIndex});
        return Msr.try_emplace({uCore, uIndex}, itAll == Msr.end() ? 0 : itAll->second).first->second;
    }
    bool operator==(const CMachineDescription&) const = default;
};
inline constexpr const char* kDefaultMachine = "family10h-ddr3";  ///< where none is named
inline constexpr uint32_t kMaximumCores = 64;
inline constexpr double kMinimumReferenceMHz = 1.0, kMaximumReferenceMHz = 1000.0;

/// Parses the text of a machine file, which may be based on a built-in machine. On failure `rsError` reads
/// "FILE:LINE: expected ..., found ..." and the description is unusable.
bool g_ParseMachine(std::string_view sText, const std::string& sFile, CMachineDescription& rMachine,
                    std::string& rsError);

/// The text form, which parses back to an equal description. It has a [begin] and an [end].
std::string g_FormatMachine(const CMachineDescription& rMachine);

/// A number that tells machines apart by what they are made of, whatever they are the state of. Never 0.
uint64_t g_Digest(CMachineDescription Machine);

/// Loads an embedded machine by name, else a file by path. What a file is based on is built in, or a file in its folder
/// or named from there.
bool g_LoadMachine(const std::string& sNameOrPath, CMachineDescription& rMachine, std::string& rsError);

/// Loads a file, whatever its name; `sShown` is what errors call it.
bool g_LoadMachineFile(const std::string& sPath, const std::string& sShown, CMachineDescription& rMachine,
                       std::string& rsError);

/// Names of the machines built into this library, sorted.
std::vector<std::string> g_MachineNames();

}  // namespace vxtsim
