// Machine files: one PC as plain text, by what a person can dump from a real one.
//
//   # a comment line; after numbers a comment may follow on the same line
//   [machine]               name = any text, cores = 4, reference_clock = 200.0 (MHz)
//   [cpuid]                 leaf = eax ebx ecx edx, or leaf.subleaf = eax ebx ecx edx
//   [msr] or [msr core 1]   index = value, 64 bits; the second form is for one core and wins over the first
//   [pci 00:18.3]           dump lines as `lspci -xxxx` prints them; lines left out are zero
//   [memory 000E0000]       dump lines; offsets count from the address
//   [acpi APIC]             dump lines of one table; `checksum = complete` makes its sum right
//   [dram_data]             pair.index = value: what lies behind the DRAM controller's index registers; pair 0 is the
//                           one at 98h, 1 the one at 198h
//   [ports]                 port = byte ...: plain readable and writable ports
//   [smbus 50]              dump lines of the device at this 7-bit address
//   [registry]              HKCU\path!value = dword:00000001 or sz:text
//   [wmi root\cimv2 CLASS]  property = VALUE: one instance of a management class; a repeated heading is its next
//                           instance. The other namespace is root\wmi
//   [firmware]              the board firmware behind the class QOR_ACPI; stands before its parts. version = 1,
//                           commands = 00030001 ... (left out: all six), vendor = up to 64 characters,
//                           graphics = 5A 1 (information and presence byte), static_methods = 1
//   [firmware object 01010000]  a tunable object, listed in file order: name = text, property = flag word,
//                           value = number (kHz or mV), values = the legal ones, info = words; status = what reading
//                           and setting answer, stuck = 1: setting succeeds and changes nothing
//   [firmware item]         a setup item, numbered from 1 in file order: name = text, value = number,
//                           options = Disabled|Auto
//   [firmware command 00030001]  result = up to 512 bytes: the whole result block, in place of the built-in one
//   [firmware answer METHOD]     property = VALUE in place of what the method answers: its output parameter, or a
//                           property of the pack in that. fails = 1: the execution fails; delay = ms that it takes
//
// IDs, codes, bytes and register contents are hexadecimal; cores, reference_clock and the other numbers of the firmware
// and of a VALUE are decimal. A dump line is `offset: byte byte ...`; without an offset it goes on where the last one
// ended.
//
// VALUE is number:-5, text:to the end of the line, bool:0 or 1, null, empty, numbers:1 2 3, bytes:0A FF,
// texts:one|two||four (nothing after the colon is no element), other:5 (a VARIANT type number); of broken firmware
// null_numbers, null_bytes, null_texts (an array type without an array), no_data (an array without data) and, in
// answers, missing (no such property).
#pragma once

#include <compare>
#include <string_view>
#include <utility>

#include "wmi_value.h"

namespace vxtsim {

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

/// What a machine file says. Plain data: equal files give equal descriptions.
struct CMachineDescription {
    std::string sName;
    uint32_t uCores = 1;
    double dReferenceMHz = 200.0;
    std::map<std::pair<uint32_t, uint32_t>, CCpuidResult> Cpuid;     ///< by leaf and subleaf
    std::map<std::pair<uint32_t, uint32_t>, uint64_t> Msr;           ///< by core (or kAllCores) and index
    std::map<CPciAddress, std::vector<uint8_t>> Pci;                 ///< 256 or 4096 bytes each
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> DramData;      ///< by pair and index
    std::map<uint64_t, std::vector<uint8_t>> Memory;                 ///< by physical address
    std::vector<std::pair<std::string, std::vector<uint8_t>>> Acpi;  ///< signature and table, in file order
    std::map<uint16_t, uint8_t> Ports;                               ///< plain readable and writable ports
    std::map<uint8_t, std::vector<uint8_t>> Smbus;                   ///< by 7-bit address: up to 256 registers
    std::map<std::string, std::string> Registry;                     ///< "key\\path!value" -> text of the line
    std::vector<CWmiInstance> Wmi;                                   ///< in file order
    std::optional<CFirmwareDescription> Firmware;
    bool operator==(const CMachineDescription&) const = default;
};
inline constexpr uint32_t kAllCores = 0xFFFFFFFF;
inline constexpr uint32_t kMaximumCores = 64;
inline constexpr double kMinimumReferenceMHz = 1.0, kMaximumReferenceMHz = 1000.0;

/// Parses a machine file. On failure `rsError` reads "FILE:LINE: expected ..., found ..." and the description is
/// unusable.
bool g_ParseMachine(std::string_view sText, const std::string& sFile, CMachineDescription& rMachine,
                    std::string& rsError);

/// The text form, which parses back to an equal description.
std::string g_FormatMachine(const CMachineDescription& rMachine);

/// Loads an embedded machine by name, else a file by path.
bool g_LoadMachine(const std::string& sNameOrPath, CMachineDescription& rMachine, std::string& rsError);

/// Names of the machines built into this library, sorted.
std::vector<std::string> g_MachineNames();

}  // namespace vxtsim
