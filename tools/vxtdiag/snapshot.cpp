#include "snapshot.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "acpi_signature.h"
#include "common/console.h"
#include "common/exit_code.h"
#include "common/text.h"
#include "devices/cpu/cpu.h"
#include "firmware/acpi_table.h"
#include "firmware/cmos_items.h"
#include "firmware_objects.h"
#include "hw/index_data_pair.h"
#include "hw/processor_family.h"
#include "machine_line.h"
#include "pci_functions.h"
#include "platform/cpuid.h"
#include "platform/system.h"
#include "platform/thread.h"
#include "plugged_devices.h"
#include "sensor_chips.h"
#include "setup_items.h"

namespace vxtdiag {

using vxttools::CFailure;
using vxttools::EExit;
using vxttools::g_Hex;

namespace {

/// Model-specific registers that exist on every processor of a family: reading one that does not can stop the machine.
/// Sources: BIOS and kernel developer's guides of families 0Fh, 10h and 11h, chapter "MSRs".
struct CMsrRange {
    uint8_t ucFamilies[3];  ///< base plus extended; 0: no further one
    uint32_t uFirst, uLast;
};
constexpr CMsrRange kMsrRanges[] = {
    {{0x0F, 0x10, 0x11}, 0x0000001B, 0x0000001B},  // APIC base
    {{0x0F, 0x10, 0x11}, 0xC0010015, 0xC0010015},  // hardware configuration
    {{0x0F, 0x10, 0x11}, 0xC001001F, 0xC001001F},  // north-bridge configuration
    {{0x0F}, 0xC0010041, 0xC0010042},              // FID/VID control and status
    {{0x10}, 0xC0010058, 0xC0010058},              // base of memory-mapped configuration space
    {{0x10}, 0xC0010061, 0xC0010068},              // P-state limit, control, status; definitions 0 to 4
    {{0x11}, 0xC0010061, 0xC001006B},              // the same; definitions 0 to 7
    {{0x10, 0x11}, 0xC0010070, 0xC0010071},        // COFVID control and status
    {{0x10}, 0xC0011023, 0xC0011023},              // bus unit configuration 2
};

/// What lies behind the DRAM controller's index registers: drive strengths (00h, 20h) and receiver enable delays.
/// Sources: the guides above, "DRAM controller additional data". The first K8 generation has other registers there.
struct CDramDataIndex {
    uint16_t usDevice;  ///< of the DRAM controller's function
    uint32_t uPairs;    ///< one for each channel, 100h apart; or one for both
    uint32_t uIndex;
};
constexpr uint16_t kRevisionF = vxt::kRevisionF.PciDevice(vxt::kDramFunction),
                   kFamily10h = vxt::kFamily10h.PciDevice(vxt::kDramFunction),
                   kFamily11h = vxt::kFamily11h.PciDevice(vxt::kDramFunction);
constexpr CDramDataIndex kDramData[] = {
    {kRevisionF, 1, 0x00}, {kRevisionF, 1, 0x10}, {kRevisionF, 1, 0x13}, {kRevisionF, 1, 0x16},
    {kRevisionF, 1, 0x19}, {kRevisionF, 1, 0x20}, {kRevisionF, 1, 0x30}, {kRevisionF, 1, 0x33},
    {kRevisionF, 1, 0x36}, {kRevisionF, 1, 0x39}, {kFamily10h, 2, 0x00}, {kFamily11h, 2, 0x00},
};

constexpr uint32_t kAffinityBits = 32;  ///< processors that a thread can be pinned to

void g_ReadCpuid(CSnapshot& rSnapshot) {
    constexpr uint32_t kMostLeaves =
        0x40;  // these processors have half as many; a broken answer must not fill the file
    for (const uint32_t uFirst : {0u, 0x80000000u}) {
        const uint32_t uHighest = vxt::platform::Cpuid(uFirst).uEax;
        const uint32_t uCount = uHighest < uFirst ? 1 : std::min(uHighest - uFirst + 1, kMostLeaves);
        for (uint32_t uLeaf = uFirst; uLeaf < uFirst + uCount; ++uLeaf) {
            const auto [uEax, uEbx, uEcx, uEdx] = vxt::platform::Cpuid(uLeaf);
            rSnapshot.Machine.Cpuid[{uLeaf, 0}] = {uEax, uEbx, uEcx, uEdx};
        }
    }
}

std::string g_Brand() {
    std::string sBrand;
    for (const uint32_t uLeaf : {0x80000002u, 0x80000003u, 0x80000004u}) {
        const auto Registers = vxt::platform::Cpuid(uLeaf);
        char acPart[sizeof Registers];
        std::memcpy(acPart, &Registers, sizeof Registers);
        sBrand.append(acPart, sizeof acPart);
    }
    sBrand = vxttools::g_Printable(sBrand);
    return sBrand.substr(std::min(sBrand.find_first_not_of(' '), sBrand.size()));
}

/// Registers that all cores agree on are written once.
void g_ReadMsr(CSnapshot& rSnapshot, uint32_t uIndex, uint32_t uCores) {
    std::vector<uint64_t> Values;
    for (uint32_t uCore = 0; uCore < uCores; ++uCore) {
        uint32_t uLow = 0, uHigh = 0;
        if (!vxt::platform::SetThreadAffinity(1u << uCore) || !vxt::g_GetDriverHandler().RDMSR(uIndex, uLow, uHigh)) {
            rSnapshot.Findings.push_back("MSR " + g_Hex(uIndex, 8) + " of core " + std::to_string(uCore) +
                                         " cannot be read");
            continue;
        }
        Values.push_back(static_cast<uint64_t>(uHigh) << 32 | uLow);
        rSnapshot.Machine.Msr[{uCore, uIndex}] = Values.back();
    }
    if (Values.size() != uCores || std::ranges::adjacent_find(Values, std::not_equal_to()) != Values.end()) return;
    std::erase_if(rSnapshot.Machine.Msr, [&](const auto& rEntry) { return rEntry.first.second == uIndex; });
    rSnapshot.Machine.Msr[{vxtsim::kAllCores, uIndex}] = Values.front();
}

void g_ReadProcessors(CSnapshot& rSnapshot) {
    rSnapshot.Machine.sName = g_Brand();
    const uint32_t uCores = std::min(vxt::platform::ProcessorCount(), kAffinityBits);
    if (uCores < vxt::platform::ProcessorCount())
        rSnapshot.Findings.push_back("only the first " + std::to_string(uCores) + " processors can be reached");
    rSnapshot.Machine.uCores = uCores;
    const uint32_t uSignature = vxt::platform::Cpuid(1).uEax;
    const uint32_t uFamily = (uSignature >> 8 & 0xF) + (uSignature >> 20 & 0xFF);
    bool bKnown = false;
    for (const CMsrRange& rRange : kMsrRanges) {
        if (std::ranges::count(rRange.ucFamilies, uFamily) == 0) continue;
        bKnown = true;
        for (uint32_t uIndex = rRange.uFirst; uIndex <= rRange.uLast; ++uIndex) g_ReadMsr(rSnapshot, uIndex, uCores);
    }
    if (!bKnown)
        rSnapshot.Findings.push_back("processor family " + g_Hex(uFamily, 2) +
                                     "h: its MSRs are not known, none was read");
    vxt::platform::SetThreadAffinity(1);  // the reference clock is core 0's
    vxt::CCPU Core(vxt::g_GetDriverHandler(), vxt::g_GetACPITable());
    const double dReference = Core.Init(0) ? Core.MeasureReferenceClock() : 0;
    Core.UnInit();
    if (dReference > 1 && dReference < 1'000)
        rSnapshot.Machine.dReferenceMHz = std::round(dReference * 10) / 10;  // known to 0.01 MHz at best
    else
        rSnapshot.Findings.push_back("the reference clock cannot be measured: the file says 200 MHz");
}

void g_ReadPci(CSnapshot& rSnapshot) {
    for (const vxt::protocol::CPciRecord& rRecord : g_PciFunctions()) {
        if (rRecord.uBus > 0xFF || rRecord.uDevice > 0x1F || rRecord.uFunction > 7) {
            rSnapshot.Findings.push_back("the driver lists a PCI function " + g_PciAddress(rRecord) +
                                         ", which cannot be");
            continue;
        }
        std::vector<uint8_t> Data = g_ReadPciFunction(rRecord);
        if (Data.size() != 256 && Data.size() != 4096) {
            rSnapshot.Findings.push_back("PCI " + g_PciAddress(rRecord) + ": only " + std::to_string(Data.size()) +
                                         " bytes can be read");
            Data.resize(256);
        }
        rSnapshot.Machine.Pci[{static_cast<uint8_t>(rRecord.uBus), static_cast<uint8_t>(rRecord.uDevice),
                               static_cast<uint8_t>(rRecord.uFunction)}] = std::move(Data);
    }
}

/// Registers that are zero stay out, as in any dump.
void g_ReadDramData(CSnapshot& rSnapshot) {
    constexpr uint32_t kIndexOffset = 0x98, kPairDistance = 0x100, kIndexMask = 0x3FFFFFFF;
    constexpr vxt::CPollLimit kPollLimit{1000, "the additional data answers"};
    const bool bFirstK8 = vxt::kFirstK8.Accepts(vxt::g_IdentifyProcessor());
    if (bFirstK8) return;  // its function has revision F's identity
    for (const auto& [usDevice, uPairs, uIndex] : kDramData) {
        vxt::CPciFunction Function(vxt::g_GetDriverHandler());
        if (!Function.Find(vxt::kMakerPciVendor, usDevice)) continue;
        for (uint32_t uPair = 0; uPair < uPairs; ++uPair) {
            const vxt::CIndexDataPair Pair(Function, kIndexOffset + uPair * kPairDistance, kIndexMask, kPollLimit);
            uint32_t uValue = 0;
            if (Pair.Read(uIndex, uValue) != nullptr)
                rSnapshot.Findings.push_back("DRAM additional data " + std::to_string(uPair) + "." + g_Hex(uIndex, 2) +
                                             " cannot be read");
            else if (uValue != 0)
                rSnapshot.Machine.DramData[{uPair, uIndex}] = uValue;
        }
    }
}

void g_ReadAcpi(CSnapshot& rSnapshot) {
    if (vxt::g_GetACPITable().GetTables().empty()) rSnapshot.Findings.push_back("no ACPI tables can be read");
    for (const auto& [uKey, rTable] : vxt::g_GetACPITable().GetTables()) {
        const std::string sSignature = g_Signature(uKey);
        if (sSignature == "RSDT" || sSignature == "XSDT")
            continue;  // addresses of this machine: the simulated PC makes its own
        rSnapshot.Machine.Acpi.emplace_back(
            sSignature, std::vector<uint8_t>(rTable.pData.get(), rTable.pData.get() + rTable.uSize));
    }
}

/// Serial presence detect EEPROMs answer at 50h to 57h (JEDEC 21-C, 4.1.2).
void g_ReadSpd(CSnapshot& rSnapshot) {
    constexpr size_t kSmallMemory =
        128;  // bytes that memories of DDR and DDR2 modules have at least: all that they use
    if (vxt::g_GetDriverHandler().GetSMBusBase() == 0) return;
    for (uint8_t ucAddress = 0x50; ucAddress <= 0x57; ++ucAddress) {
        std::vector<uint8_t> Data(256);
        for (size_t i = 0; i < Data.size(); ++i) {
            const uint8_t ucRead = static_cast<uint8_t>(ucAddress << 1 | 1);
            if (vxt::g_GetDriverHandler().AccessSMBus(ucRead, static_cast<uint8_t>(i), Data[i])) continue;
            if (i > 0 && i != kSmallMemory)
                rSnapshot.Findings.push_back("SPD at " + g_Hex(ucAddress, 2) + ": byte " + std::to_string(i) +
                                             " and what follows cannot be read");
            Data.resize(i);
        }
        if (!Data.empty()) rSnapshot.Machine.Smbus[ucAddress] = std::move(Data);
    }
}

/// Where most BIOSes keep their date: the last bytes below 1 MiB.
void g_ReadBiosDate(CSnapshot& rSnapshot) {
    constexpr uint64_t kAddress = 0xFFFF0;
    std::vector<uint8_t> Data(16);
    if (!vxt::g_GetDriverHandler().ReadMemory(kAddress, static_cast<uint32_t>(Data.size()), Data.data()))
        rSnapshot.Findings.push_back("the memory of the BIOS's date cannot be read");
    else if (std::ranges::adjacent_find(Data, std::not_equal_to()) != Data.end())
        rSnapshot.Machine.Memory[kAddress] = std::move(Data);
}

/// What the library reads of the system's management classes.
struct CIdentityClass {
    const wchar_t* pszName;
    const char* pszWhat;
    std::vector<std::wstring> Properties;
};
const CIdentityClass kIdentityClasses[] = {
    {L"Win32_BIOS", "BIOS", {L"SerialNumber", L"Manufacturer", L"Description", L"SMBIOSBIOSVersion", L"ReleaseDate"}},
    {L"Win32_BaseBoard", "board", {L"Manufacturer", L"Product", L"Version", L"SerialNumber"}},
};

void g_ReadInstance(CSnapshot& rSnapshot, const CIdentityClass& rClass, int32_t nInstance,
                    const vxt::platform::CWmiObject& rInstance) {
    vxtsim::CWmiInstance& rCopy = rSnapshot.Machine.Wmi.emplace_back();
    rCopy.sNamespace = "root\\cimv2";
    rCopy.sClass = g_Line(rClass.pszName);
    for (const std::wstring& rsName : rClass.Properties) {
        vxt::platform::WmiValue Value;
        const bool bRead = vxt::g_GetSystemWmi().GetPropertyValue(rInstance, rsName.c_str(), &Value);
        const auto* const psText = std::get_if<std::wstring>(&Value);
        if (bRead && (psText || std::holds_alternative<vxt::platform::CWmiNull>(Value)))
            rCopy.Properties[g_Line(rsName)] =
                psText ? vxtsim::CWmiValue::Text(g_Line(*psText)) : vxtsim::CWmiValue::Typed(vxtsim::CWmiValue::kNull);
        else
            rSnapshot.Findings.push_back(std::string(rClass.pszWhat) + " " + std::to_string(nInstance) + ": " +
                                         g_Line(rsName) + " cannot be read");
    }
}

void g_ReadIdentities(CSnapshot& rSnapshot) {
    constexpr int32_t kMostInstances = 16;
    vxt::CWmiHandler& rWmi = vxt::g_GetSystemWmi();
    if (!rWmi.Connect(vxt::kSystemNamespace))
        rSnapshot.Findings.push_back("the system's management interface cannot be reached");
    for (const CIdentityClass& rClass : kIdentityClasses)
        for (int32_t nInstance = 0; nInstance < kMostInstances; ++nInstance) {
            const vxt::platform::CWmiObject Instance = rWmi.GetInstance(rClass.pszName, nInstance);
            if (!Instance) break;
            g_ReadInstance(rSnapshot, rClass, nInstance, Instance);
        }
    rWmi.Disconnect();
}

constexpr size_t kMostEntries = 4096;  ///< of a kind, that a machine file holds

template <class TNumber>
void g_CopyWords(const std::optional<std::vector<TNumber>>& rFrom, std::vector<TNumber>& rTo, const char* pszWhat,
                 uint32_t uId, CSnapshot& rSnapshot) {
    if (rFrom && rFrom->size() <= kMostEntries)
        rTo = *rFrom;
    else if (rFrom)
        rSnapshot.Findings.push_back("object " + g_Hex(uId, 8) + " has too many " + pszWhat + " for a machine file");
}

void g_CopyObjects(const CFirmwareSession& rSession, CSnapshot& rSnapshot) {
    std::vector<vxtsim::CFirmwareObject>& rObjects = rSnapshot.Machine.oFirmware->Objects;
    for (const CFirmwareObject& rObject : g_ReadFirmwareObjects(rSession, rSnapshot.Findings)) {
        const uint32_t uId = rObject.Record.uID;
        if (std::ranges::count(rObjects, uId, &vxtsim::CFirmwareObject::uId)) {
            rSnapshot.Findings.push_back("object " + g_Hex(uId, 8) + " is listed twice");
            continue;
        }
        vxtsim::CFirmwareObject& rCopy = rObjects.emplace_back();
        rCopy.uId = uId;
        rCopy.sName = g_Line(std::wstring(rObject.Record.szID.data()));
        rCopy.uProperty = rObject.Record.uProperty;
        rCopy.nValue = rObject.oValue.value_or(0);
        rCopy.nStatus = rObject.oStatus.value_or(0);
        g_CopyWords(rObject.oValues, rCopy.Values, "values", rCopy.uId, rSnapshot);
        g_CopyWords(rObject.oInfo, rCopy.Info, "description words", rCopy.uId, rSnapshot);
    }
}

void g_CopyItems(CSnapshot& rSnapshot) {
    for (const CSetupItem& rItem : g_ReadSetupItems(rSnapshot.Findings)) {
        if (rItem.uNumber > kMostEntries)
            return rSnapshot.Findings.push_back("too many setup items for a machine file");
        vxtsim::CFirmwareItem& rCopy = rSnapshot.Machine.oFirmware->Items.emplace_back();
        rCopy.sName = g_Line(rItem.sName);
        rCopy.usValue = rItem.oValue.value_or(0);
        for (const std::string& rsOption : rItem.Options) {
            rCopy.Options.push_back(g_Line(rsOption));
            std::ranges::replace(rCopy.Options.back(), '|', '/');  // the file's own separator
        }
        if (rCopy.Options == std::vector<std::string>{""}) rCopy.Options.clear();  // both are written as nothing
    }
}

/// Objects, setup items and what the firmware says of the board. A refused value stays refused.
void g_ReadFirmware(CSnapshot& rSnapshot) {
    const CFirmwareSession Session;
    if (!Session.IsThere()) return;
    vxtsim::CFirmwareDescription& rFirmware = rSnapshot.Machine.oFirmware.emplace();
    const vxt::CQORBIOS& rCommands = vxt::g_GetQORBIOS();
    if (Session.HasCommands()) {
        rFirmware.nVersion = static_cast<int32_t>(rCommands.GetVersion());
        rFirmware.Commands.assign(rCommands.GetCommandList().begin(), rCommands.GetCommandList().end());
    } else {
        rSnapshot.Findings.push_back("the firmware's version and commands cannot be read");
    }
    vxt::CBIOSMiscInfo& rBoard = vxt::g_GetBIOSMiscInfo();
    if (!rBoard.Init()) rSnapshot.Findings.push_back("the board's vendor and graphics cannot be read");
    rFirmware.sVendor = g_Line(std::string(rBoard.GetVendorName()));
    rFirmware.ucGraphics = rBoard.GetIGPInfo();
    rFirmware.ucGraphicsPresent = rBoard.IsIGPPresent();
    g_CopyObjects(Session, rSnapshot);
    g_CopyItems(rSnapshot);
}

}  // namespace

CSnapshot g_TakeSnapshot() {
    CSnapshot Snapshot;
    for (const auto pStep :
         {g_ReadCpuid, g_ReadProcessors, g_ReadPci, g_ReadDramData, g_ReadAcpi, g_ReadSpd, g_ReadSensorChips,
          g_ReadBiosDate, g_ReadIdentities, g_ReadPluggedDevices, g_ReadFirmware}) {
        if (vxttools::g_WasInterrupted()) throw CFailure(EExit::kInterrupted, "interrupted");
        pStep(Snapshot);
    }
    return Snapshot;
}

}  // namespace vxtdiag
