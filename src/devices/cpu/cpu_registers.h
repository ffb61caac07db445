// Processor registers by name. Source: the public BIOS and kernel developer's guides of families 0Fh, 10h and 11h.
#pragma once

#include <vxtapi/cpu.h>

#include "devices/framework/device_base.h"
#include "hw/pci_function.h"
#include "hw/processor_family.h"
#include "registers/msr_words.h"
#include "registers/record_field.h"
#include "registers/value_table.h"

namespace vxt::cpu {

// CPUID
using cpuid::kExtendedFamily, cpuid::kExtendedModel, cpuid::kFamily, cpuid::kModel, cpuid::kSignature,
    cpuid::kStepping;  // function 1
inline constexpr uint32_t kCpuidVendor = 0, kCpuidExtended = 0x80000000, kCpuidExtendedSignature = 0x80000001,
                          kCpuidBrand = 0x80000002, kCpuidL1 = 0x80000005, kCpuidL2 = 0x80000006,
                          kCpuidPower = 0x80000007;
/// The four numbers of a cache register, functions 8000_0005h EAX and ECX, from the top byte down.
inline constexpr CBitField kCacheBytes[] = {{31, 24}, {23, 16}, {15, 8}, {7, 0}};
// Function 8000_0006h ECX; the size is in KB
inline constexpr CBitField kL2Size(31, 16), kL2Associativity(15, 12), kL2LinesPerTag(11, 8), kL2LineSize(7, 0);
// Function 8000_0007h EDX: what the processor lets software control
inline constexpr uint32_t kFidControl = 1u << 1, kVidControl = 1u << 2, kHalfSteps = 1u << 6, kHwPstates = 1u << 7,
                          kTscInvariant = 1u << 8;

inline constexpr CPciAddress kMiscControl{.uBus = 0, .uDevice = 24, .uFunction = kMiscFunction};
inline constexpr uint32_t kPowerStateRegister = 0x84;
inline constexpr CBitField kClockDivisor(31, 29);  ///< in the deepest halt; 0: the clock is not divided
inline constexpr uint32_t kDivideBy32 = 5;
inline constexpr uint32_t kReportedTemperatureRegister = 0xA4;
inline constexpr CBitField kReportedTemperature(31, 21);  ///< 1/8 degree C
inline constexpr uint32_t kClockRegister = 0xD4;
inline constexpr CBitField kNbFid(4, 0);              ///< north-bridge clock = 200 MHz * (FID + 4)
inline constexpr uint32_t kThermTripRegister = 0xE4;  ///< family 0Fh
inline constexpr CBitField kThermOffset(13, 8), kThermOffsetSign(24, 24);
inline constexpr CBitField kThermCoreSelect(2, 2), kThermSensorSelect(6, 6), kThermReading(23, 16);

// Hardware configuration and bus unit configuration 2: TLB caching is switched in both
inline constexpr uint32_t kHwcrMsr = 0xC0010015, kBusUnitMsr = 0xC0011023;
inline constexpr CRegisterField kHwcrTlbCacheDis = g_WideBits(3, 3), kHwcrTscFreqSel = g_WideBits(24, 24);
inline constexpr CRegisterField kBusUnitTlb = g_WideBits(1, 0), kBusUnitTlbOff = g_WideBits(1, 1);

// FID/VID control and status, family 0Fh
inline constexpr uint32_t kFidVidControlMsr = 0xC0010041, kFidVidStatusMsr = 0xC0010042;
inline constexpr CRegisterField kInitiateChange = g_WideBits(16, 16), kStopGrantCount = g_WideBits(51, 32);
inline constexpr CRegisterField kChangePending = g_WideBits(31, 31);
inline constexpr CRegisterField kStartFid = g_WideBits(13, 8), kMaxFid = g_WideBits(21, 16);
inline constexpr CRegisterField kMaxRampVid = g_WideBits(29, 24), kStartVid = g_WideBits(45, 40),
                                kMaxVid = g_WideBits(53, 48), kMinVid = g_WideBits(61, 56);
inline constexpr uint32_t kUnlimitedFid = 0x2A;  ///< of kMaxFid: no limit; the multiplier still ends at 25

// COFVID control and status, families 10h and 11h. The first three fields stand in P-state definitions too.
inline constexpr uint32_t kCofVidControlMsr = 0xC0010070, kCofVidStatusMsr = 0xC0010071;
inline constexpr CRegisterField kFid = g_WideBits(5, 0), kDid = g_WideBits(8, 6), kVid = g_WideBits(15, 9);
inline constexpr CRegisterField kPstateId = g_WideBits(18, 16), kNbDid = g_WideBits(22, 22),
                                kNbVid = g_WideBits(31, 25);
inline constexpr CRegisterField kStartupPstate = g_WideBits(34, 32), kMaxVidLimit = g_WideBits(41, 35),
                                kMinVidLimit = g_WideBits(48, 42), kMaxCof = g_WideBits(54, 49);  // of the status

// P-states, families 10h and 11h
inline constexpr uint32_t kPstateLimitMsr = 0xC0010061, kPstateControlMsr = 0xC0010062, kPstateStatusMsr = 0xC0010063,
                          kPstateMsr = 0xC0010064;  ///< definition 0, the others follow
inline constexpr CRegisterField kPstateMaxVal = g_WideBits(6, 4), kPstateCommand = g_WideBits(2, 0);
inline constexpr uint32_t kDefinitions10h = 5;

/// One stored number of the P-state record and its bits in the definition.
struct CPstateRow {
    CRecordField<vxtapi::CPstate, double> Number;
    CRegisterField Field;
    const char* pszCheck;  ///< logged when the field cannot hold a record's number
};
// clang-format off
inline constexpr CPstateRow kPstateRows[] = {
    {kField<&vxtapi::CPstate::dCpuFid>, kFid, "pPstate->dCpuFid == PstateReg.m_sReg.CpuFid"},
    {kField<&vxtapi::CPstate::dCpuDid>, kDid, "pPstate->dCpuDid == PstateReg.m_sReg.CpuDid"},
    {kField<&vxtapi::CPstate::dCpuVid>, kVid, "pPstate->dCpuVid == PstateReg.m_sReg.CpuVid"},
    {kField<&vxtapi::CPstate::dNbDid>, kNbDid, "pPstate->dNbDid == PstateReg.m_sReg.NbDid"},
    {kField<&vxtapi::CPstate::dNbVid>, kNbVid, "pPstate->dNbVid == PstateReg.m_sReg.NbVid"},
    {kField<&vxtapi::CPstate::dIddDiv>, g_WideBits(41, 40), "pPstate->dIddDiv == PstateReg.m_sReg.IddDiv"},
    {kField<&vxtapi::CPstate::dPstateEn>, g_WideBits(63, 63), "pPstate->dPstateEn == PstateReg.m_sReg.PstateEn"},
};
// clang-format on

// Multipliers of family 0Fh and core voltages. Whole numbers divided once give the doubles nearest to decimal values.
inline constexpr auto kFidMultipliers = g_MakeValues<64>([](int nFid) { return (40 + 5 * nFid) / 10.0; });
inline constexpr auto kFidVidVolts =
    g_MakeValues<64>([](int nVid) { return (nVid < 32 ? 15500 - 250 * nVid : 7625 - 125 * (nVid - 32)) / 10000.0; });
inline constexpr auto kCofVidVolts =
    g_MakeValues<128>([](int nVid) { return nVid < 124 ? (15500 - 125 * nVid) / 10000.0 : 0.0; });  // 0: off
inline constexpr CValueTable kFidTable(kFidMultipliers), kFidVidTable(kFidVidVolts), kCofVidTable(kCofVidVolts);
static_assert(kFidTable.Covers(kMaxFid) && kFidVidTable.Covers(kMaxVid) && kCofVidTable.Covers(kVid));
inline constexpr double kFidTolerance = 0.00001;

/// Where a generation keeps its voltage, and how a request finds its code.
struct CVidRules {
    uint32_t uControlMsr, uStatusMsr;
    CRegisterField StatusVid;
    CValueTable Volts;
    double dTolerance;
};
// Families 10h and 11h step by 12.5 mV: half a step and a little finds the nearest code of every request. Family 0Fh's
// 15 mV suit steps of 25 mV. Kept: in its lower, finer half a request gets the code one above its own.
inline constexpr CVidRules kFidVid{kFidVidControlMsr, kFidVidStatusMsr, g_WideBits(37, 32), kFidVidTable, 0.015};
inline constexpr CVidRules kCofVid{kCofVidControlMsr, kCofVidStatusMsr, kVid, kCofVidTable, 0.0063};

constexpr CDeviceIdentity g_Identity(const wchar_t* pszName, uint32_t uVersion) {
    return {vxtapi::kDeviceCpu, pszName, uVersion};
}

/// What one family does differently from the others.
struct CCpuRules {
    const char* pszClass;  ///< under which the family's failed checks are logged
    CDeviceIdentity Identity;
    const CProcessorFamily& rFamily;
    uint32_t uStandardLeaf = 0, uExtendedLeaf = 0;  ///< highest CPUID functions reach these; 0: not asked
    uint32_t uGate = 0;                             ///< CPUID 8000_0007h EDX bits without which no register is touched
    const CVidRules& rVid;
    CRegisterField ControlVid;
    uint32_t uFidOffset;  ///< multiplier = (FID + offset) / 2^DID / 2
    bool bWaits;          ///< for the end of a transition
};
// clang-format off
inline constexpr CCpuRules kFirstK8Rules{
    .pszClass = "CCorvel64CPU", .Identity = g_Identity(L"QOR64 Family Processor", 20070322), .rFamily = kFirstK8,
    .rVid = kFidVid, .ControlVid = g_WideBits(12, 8), .uFidOffset = 8, .bWaits = false};
inline constexpr CCpuRules kRevisionFRules{
    .pszClass = "CCorvel64X2CPU", .Identity = g_Identity(L"QOR KDF Family Processor", 20070403), .rFamily = kRevisionF,
    .uGate = kFidControl | kVidControl,
    .rVid = kFidVid, .ControlVid = g_WideBits(13, 8), .uFidOffset = 8, .bWaits = true};
inline constexpr CCpuRules kFamily10hRules{
    .pszClass = "CBrevikCPU", .Identity = g_Identity(L"QOR Family 10h Processor", 20070518), .rFamily = kFamily10h,
    // Early parts end at 8000_001Ah, later ones at 8000_001Bh: what this library reads ends at 8000_0007h.
    .uStandardLeaf = kSignature, .uExtendedLeaf = kCpuidPower, .uGate = kHwPstates,
    .rVid = kCofVid, .ControlVid = kVid, .uFidOffset = 16, .bWaits = true};
inline constexpr CCpuRules kFamily11hRules{
    .pszClass = "CTalvorCPU", .Identity = g_Identity(L"QOR Family 11h Processor", 0), .rFamily = kFamily11h,
    .uGate = kHwPstates,
    .rVid = kCofVid, .ControlVid = kVid, .uFidOffset = 8, .bWaits = false};
// clang-format on

}  // namespace vxt::cpu
