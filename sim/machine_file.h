// Machine files: one PC as plain text, by what a person can dump from a real one.
//
//   # a comment line; after numbers a comment may follow on the same line
//   [machine]               name = any text, cores = 4, reference_clock = 200.0 (MHz)
//   [cpuid]                 leaf = eax ebx ecx edx, or leaf.subleaf = eax ebx ecx edx
//   [msr] or [msr core 1]   index = value, 64 bits; the second form is for one core and wins over the first
//   [pci 00:18.3]           dump lines as `lspci -xxxx` prints them; lines left out are zero
//   [memory 000E0000]       dump lines; offsets count from the address
//   [acpi APIC]             dump lines of one table; `checksum = complete` makes its sum right
//   [dram_data]             pair.index = value: what lies behind the DRAM controller's index registers; pair 0 is the one
//                           at 98h, 1 the one at 198h
//   [ports]                 port = byte ...: plain readable and writable ports
//   [smbus 50]              dump lines of the device at this 7-bit address
//   [registry]              HKCU\path!value = dword:00000001 or sz:text
//
// Numbers are hexadecimal except cores and reference_clock. A dump line is `offset: byte byte ...`; without an offset
// it goes on where the last one ended.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vxtsim {

struct CPciAddress {
    uint8_t ucBus, ucDevice, ucFunction;
    auto operator<=>(const CPciAddress&) const = default;  // NOLINT(modernize-use-nullptr): takes 0 for a pointer
};

struct CCpuidResult {
    uint32_t uEax = 0, uEbx = 0, uEcx = 0, uEdx = 0;
    bool operator==(const CCpuidResult&) const = default;
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
    bool operator==(const CMachineDescription&) const = default;
};
inline constexpr uint32_t kAllCores = 0xFFFFFFFF;
inline constexpr uint32_t kMaximumCores = 64;

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
