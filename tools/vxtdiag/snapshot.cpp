#include "snapshot.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "acpi_report.h"
#include "common/console.h"
#include "common/exit_code.h"
#include "common/text.h"
#include "devices/cpu/cpu.h"
#include "firmware/acpi_table.h"
#include "pci_report.h"
#include "platform/cpuid.h"
#include "platform/system.h"
#include "platform/thread.h"

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

constexpr uint32_t kAffinityBits = 32;  ///< processors that a thread can be pinned to

void _ReadCpuid(CSnapshot& rSnapshot) {
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

std::string _Brand() {
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
void _ReadMsr(CSnapshot& rSnapshot, uint32_t uIndex, uint32_t uCores) {
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

void _ReadProcessors(CSnapshot& rSnapshot) {
    rSnapshot.Machine.sName = _Brand();
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
        for (uint32_t uIndex = rRange.uFirst; uIndex <= rRange.uLast; ++uIndex) _ReadMsr(rSnapshot, uIndex, uCores);
    }
    if (!bKnown)
        rSnapshot.Findings.push_back("processor family " + g_Hex(uFamily, 2) +
                                     "h: its MSRs are not known, none was read");
    vxt::platform::SetThreadAffinity(1);  // the reference clock is core 0's
    vxt::CCPU Core;
    const double dReference = Core.Init(0) ? Core.MeasureReferenceClock() : 0;
    Core.UnInit();
    if (dReference > 1 && dReference < 1'000)
        rSnapshot.Machine.dReferenceMHz = std::round(dReference * 10) / 10;  // known to 0.01 MHz at best
    else
        rSnapshot.Findings.push_back("the reference clock cannot be measured: the file says 200 MHz");
}

void _ReadPci(CSnapshot& rSnapshot) {
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

void _ReadAcpi(CSnapshot& rSnapshot) {
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
void _ReadSpd(CSnapshot& rSnapshot) {
    if (vxt::g_GetDriverHandler().GetSMBusBase() == 0) return;
    for (uint8_t ucAddress = 0x50; ucAddress <= 0x57; ++ucAddress) {
        std::vector<uint8_t> Data(256);
        for (size_t i = 0; i < Data.size(); ++i) {
            const uint8_t ucRead = static_cast<uint8_t>(ucAddress << 1 | 1);
            if (vxt::g_GetDriverHandler().AccessSMBus(ucRead, static_cast<uint8_t>(i), Data[i])) continue;
            if (i > 0)
                rSnapshot.Findings.push_back("SPD at " + g_Hex(ucAddress, 2) + ": byte " + std::to_string(i) +
                                             " and what follows cannot be read");
            Data.resize(i);
        }
        if (!Data.empty()) rSnapshot.Machine.Smbus[ucAddress] = std::move(Data);
    }
}

}  // namespace

CSnapshot g_TakeSnapshot() {
    CSnapshot Snapshot;
    for (const auto pStep : {_ReadCpuid, _ReadProcessors, _ReadPci, _ReadAcpi, _ReadSpd}) {
        if (vxttools::g_WasInterrupted()) throw CFailure(EExit::kInterrupted, "interrupted");
        pStep(Snapshot);
    }
    return Snapshot;
}

}  // namespace vxtdiag
