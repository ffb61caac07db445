// The DRAM controllers' fields, family by family. Source: the public BIOS and kernel developer's guides: K8 processors
// (first generations, function 2 registers 88h to 94h), K8 revisions F and G (88h to A0h and their additional data),
// families 10h and 11h (78h to 110h and their additional data).
#pragma once

#include "devices/memctl/memory_rules.h"

namespace vxt::memory {

/// Index register of the additional data (F2x98; the data register follows) and the bits of an index.
inline constexpr uint32_t kAdditionalData = 0x98, kAdditionalIndex = 0x3FFFFFFF;
inline constexpr uint32_t kChannelSelect = 0x110;
inline constexpr CBitField kGanged(4, 4);
/// North-bridge configuration: offsets from 100h on can be reached through the configuration ports.
inline constexpr uint32_t kNbConfigMsr = 0xC001001F;
inline constexpr CRegisterField kEnableCf8ExtCfg = g_WideBits(46, 46);

inline constexpr double kTolerance = 1e-5;  ///< of a requested value

// --- value tables ----------------------------------------------------------------------------------------------------

/// Values that count up by one from `nFirst` at `nFirstCode`; codes before that and from `nEndCode` on are reserved.
template <int nCodes, int nFirst, int nFirstCode, int nEndCode>
inline constexpr auto kCountValues = g_MakeValues<nCodes>([](int nCode) {
    return nCode < nFirstCode || nCode >= nEndCode ? kReserved : nFirst + nCode - nFirstCode;
});
template <int nCodes, int nFirst, int nFirstCode = 0, int nEndCode = nCodes>
inline constexpr CValueTable kCount(kCountValues<nCodes, nFirst, nFirstCode, nEndCode>);

inline constexpr double kFirstTclValues[] = {1, 2, 3, 4, 1.5, 2.5, 3.5, 4.5, kEndOfTable};
inline constexpr double kFirstTwclValues[] = {1, 2, kEndOfTable};
inline constexpr auto kFirstTrefValues = g_MakeValues<32>([](int nCode) {  // us; by rows of the modules, then clock
    return nCode % 8 >= 4 || nCode >= 24 ? kReserved : nCode < 8 ? 15.6 : nCode < 16 ? 7.8 : 3.9;
});
inline constexpr double kTrefValues[] = {kReserved, kReserved, 7.8, 3.9, kEndOfTable};  // us
// ns
inline constexpr double kTrfcDdr2Values[] = {75, 105, 127.5, 195, 327.5, kReserved, kReserved, kReserved, kEndOfTable};
inline constexpr double kTrfcDdr3Values[] = {kReserved, 90,        110,       160,        300,
                                             kReserved, kReserved, kReserved, kEndOfTable};
inline constexpr double kTwrWideValues[] = {kReserved, 5, 6, 7, 8, 10, 12, kReserved, kEndOfTable};
inline constexpr CValueTable kFirstTcl(kFirstTclValues), kFirstTwcl(kFirstTwclValues), kFirstTref(kFirstTrefValues),
    kTrefTimes(kTrefValues), kTrfcDdr2(kTrfcDdr2Values), kTrfcDdr3(kTrfcDdr3Values), kTwrWide(kTwrWideValues);

// MHz
inline constexpr double kFirstClockValues[] = {100, kReserved, 133, kReserved,  kReserved,
                                               166, kReserved, 200, kEndOfTable};
inline constexpr double kSlowDdr2ClockValues[] = {200,       266,       333,       400,        kReserved,
                                                  kReserved, kReserved, kReserved, kEndOfTable};
inline constexpr double kDdr2ClockValues[] = {200, 266, 333, 400, 533, kReserved, kReserved, kReserved, kEndOfTable};
inline constexpr double kDdr3ClockValues[] = {kReserved, kReserved, kReserved, 400,        533,
                                              667,       800,       kReserved, kEndOfTable};
inline constexpr CValueTable kFirstClocks(kFirstClockValues), kSlowDdr2Clocks(kSlowDdr2ClockValues),
    kDdr2Clocks(kDdr2ClockValues), kDdr3Clocks(kDdr3ClockValues);

// Ohm
inline constexpr double kDdr2TermValues[] = {0, 75, 150, 50, kEndOfTable};
inline constexpr double kDdr3TermValues[] = {0, 60, 120, 40, 20, 30, kReserved, kReserved, kEndOfTable};
inline constexpr double kDdr2OdtValues[] = {300, 150, 75, kReserved, kEndOfTable};
inline constexpr double kDdr3OdtValues[] = {240, 120, 60, kReserved, kEndOfTable};
inline constexpr CValueTable kDdr2Term(kDdr2TermValues), kDdr3Term(kDdr3TermValues), kDdr2Odt(kDdr2OdtValues),
    kDdr3Odt(kDdr3OdtValues);

// Multiples of the nominal strength
inline constexpr double kAddressDriveValues[] = {1.0, 1.25, 1.5, 2.0, kEndOfTable};
inline constexpr double kDataDriveValues[] = {0.75, 1.0, 1.25, 1.5, kEndOfTable};
inline constexpr CValueTable kAddressDrives(kAddressDriveValues), kDataDrives(kDataDriveValues);

// Clocks. A window of 0: no restriction.
inline constexpr auto kDdr2WindowValues = g_MakeValues<16>([](int nCode) {
    return nCode == 0 ? 0 : nCode > 13 ? kReserved : 7 + nCode;
});
inline constexpr auto kWideWindowValues = g_MakeValues<16>([](int nCode) { return nCode == 0 ? 0 : 15 + nCode; });
inline constexpr double kIdleLimitValues[] = {16, 32, 64, 96, kEndOfTable};
inline constexpr double kK8IdleLimitValues[] = {0, 4, 8, 16, 32, 64, 128, 256, kEndOfTable};
inline constexpr CValueTable kDdr2Windows(kDdr2WindowValues), kWideWindows(kWideWindowValues),
    kIdleLimits(kIdleLimitValues), kK8IdleLimits(kK8IdleLimitValues);

// ns
inline constexpr auto kPreambleValues = g_MakeValues<16>([](int nCode) { return 2.0 + 0.5 * nCode; });
inline constexpr auto kDqsDelayValues =
    g_MakeValues<256>([](int nCode) { return nCode > 0xAE ? kReserved : 5 * nCode / 100.0; });
inline constexpr CValueTable kPreambles(kPreambleValues), kDqsDelays(kDqsDelayValues);

// clang-format off
// --- K8, first generations (DDR) -------------------------------------------------------------------------------------

inline constexpr CBlock kFirstTimingBlocks[] = {{k88, 2}}, kFirstConfigBlocks[] = {{k90, 2}};
inline constexpr CTimingRow kFirstTiming[] = {
    {kTcl, {kAlways, {k88, {2, 0}}, kFirstTcl}},
    {kTrc, {kAlways, {k88, {7, 4}}, kCount<16, 7>}},
    {kTrfc0, {kAlways, {k88, {11, 8}}, kCount<16, 9>}},
    {kTrcd, {kAlways, {k88, {14, 12}}, kCount<8, 1, 1>}},
    {kTrrd, {kAlways, {k88, {18, 16}}, kCount<8, 1, 1, 7>}},
    {kTras, {kAlways, {k88, {23, 20}}, kCount<16, 5, 5>}},
    {kTrp, {kAlways, {k88, {26, 24}}, kCount<8, 2, 2, 7>}},
    {kTwr, {kAlways, {k88, {28, 28}}, kCount<2, 2>}},
    {kTwtr, {kAlways, {k8C, {0, 0}}, kCount<2, 1>}},
    {kTrwt, {kAlways, {k8C, {6, 4}}, kCount<8, 1, 0, 6>}},
    {kTref, {kAlways, {k8C, {12, 8}}, kFirstTref}},
    {kTwcl, {kAlways, {k8C, {22, 20}}, kFirstTwcl, false}},  // Kept: codes past the table's end read as reserved
};
inline constexpr CConfigRow kFirstConfig[] = {
    {kMaxAsyncLat, {kAlways, {k94, {3, 0}}, kCount<16, 0>}},   // AsyncLat, ns
    {kRdPreamble, {kAlways, {k94, {11, 8}}, kPreambles}},      // RdPreamble
    {kIdleLimit, {kAlways, {k94, {18, 16}}, kK8IdleLimits}},   // ILD_lmt
    {kMemClk, {kAlways, {k94, {22, 20}}, kFirstClocks}},       // MemClk
    {kDcqBypassMax, {kAlways, {k90, {27, 25}}, kCount<8, 0>}}, // BypMax
};
// The width of the bus was settled when the memory was brought up: changing it would lose what the memory holds.
inline constexpr CRegisterField kFirstBothUsed{k90, {16, 16}};
inline constexpr CFlagRow<MemConfig> kFirstFlags[] = {
    {kField<&MemConfig::bGanged>, kFirstBothUsed, EFlagUse::kReadOnly},      // 128-bit mode
    {kField<&MemConfig::bSlowAccessMode>, {k90, {28, 28}}},   // En2T
    {kField<&MemConfig::bWeakDrivers>, {k90, {1, 1}}},        // D_DRV
    {kField<&MemConfig::bDccEnable>, {k94, {19, 19}}},        // DCC_EN
};

// --- K8 revision F and later (DDR2) ----------------------------------------------------------------------------------

inline constexpr CBlock kRevFTimingBlocks[] = {{k88, 2}}, kRevFConfigBlocks[] = {{k90, 2}, {kA0, 1}};
inline constexpr CTimingRow kRevFTiming[] = {
    {kTcl, {kAlways, {k88, {2, 0}}, kCount<8, 3, 2, 6>}},
    {kTrcd, {kAlways, {k88, {5, 4}}, kCount<4, 3>}},
    {kTrp, {kAlways, {k88, {9, 8}}, kCount<4, 3>}},
    {kTrtp, {kAlways, {k88, {11, 11}}, kCount<2, 2>}},
    {kTras, {kAlways, {k88, {15, 12}}, kCount<16, 5, 2>}},
    {kTrc, {kAlways, {k88, {19, 16}}, kCount<16, 11>}},
    {kTwr, {kAlways, {k88, {21, 20}}, kCount<4, 3>}},
    {kTrrd, {kAlways, {k88, {23, 22}}, kCount<4, 2>}},
    {kTrfc0, {kAlways, {k8C, {22, 20}}, kTrfcDdr2}},
    {kTrfc1, {kAlways, {k8C, {25, 23}}, kTrfcDdr2}},
    {kTrfc2, {kAlways, {k8C, {28, 26}}, kTrfcDdr2}},
    {kTrfc3, {kAlways, {k8C, {31, 29}}, kTrfcDdr2}},
    {kTwtr, {kAlways, {k8C, {9, 8}}, kCount<4, 1, 1>}},
    {kTref, {kAlways, {k8C, {17, 16}}, kTrefTimes}},
    {kTrwtTO, {kAlways, {k8C, {6, 4}}, kCount<8, 2>}},
    {kTwrrd, {kAlways, {k8C, {11, 10}}, kCount<4, 0>}},
    {kTwrwr, {kAlways, {k8C, {13, 12}}, kCount<4, 1, 0, 3>}},
    {kTrdrd, {kAlways, {k8C, {15, 14}}, kCount<4, 2>}},
};
inline constexpr CConfigRow kRevFConfig[] = {
    {kMemClk, {kAlways, {k94, {2, 0}}, kSlowDdr2Clocks}},
    {kMaxAsyncLat, {kAlways, {k94, {7, 4}}, kCount<16, 0>}},      // ns
    {kDramTerm, {kAlways, {k90, {5, 4}}, kDdr2Term}},
    {kFourActWindow, {kAlways, {k94, {31, 28}}, kDdr2Windows}},
    {kDcqBypassMax, {kAlways, {k94, {27, 24}}, kCount<16, 0>}},
    {kIdleLimit, {kAlways, {kA0, {8, 6}}, kK8IdleLimits}},        // ILD_lmt
};
inline constexpr CRegisterField kRevFBothUsed{k90, {11, 11}};
inline constexpr CFlagRow<MemConfig> kRevFFlags[] = {
    {kField<&MemConfig::bGanged>, kRevFBothUsed, EFlagUse::kReadOnly},          // 128-bit mode, see the first generations
    {kField<&MemConfig::bSlowAccessMode>, {k94, {20, 20}}},
    {kField<&MemConfig::bWeakDrivers>, {k90, {7, 7}}},
    {kField<&MemConfig::bDccEnable>, {kA0, {5, 5}}},             // DCC_EN
    {kField<&MemConfig::bPowerDownEnable>, {k94, {15, 15}}},
};
/// Additional register 0, output driver compensation: alike from revision F to family 11h.
inline constexpr CConfigRow kDriveRows[] = {
    {kCkeDrive, {kAlways, {0, {1, 0}}, kAddressDrives}},
    {kCsOdtDrive, {kAlways, {0, {5, 4}}, kAddressDrives}},
    {kAddrCmdDrive, {kAlways, {0, {9, 8}}, kAddressDrives}},
    {kClockDrive, {kAlways, {0, {13, 12}}, kDataDrives}},
    {kDataDrive, {kAlways, {0, {17, 16}}, kDataDrives}},
    {kDqsDrive, {kAlways, {0, {21, 20}}, kDataDrives}},
    {kProcOdt, {kDdr3, {0, {29, 28}}, kDdr3Odt}, {kAlways, {0, {29, 28}}, kDdr2Odt}},
};
// DQS receiver enable timing of each DIMM's first chip select, in steps of 50 ps.
inline constexpr CConfigRow kDqsRows[] = {
    {kDqsDelay<0>, {kAlways, {0, {7, 0}}, kDqsDelays}},
    {kDqsDelay<1>, {kAlways, {0, {7, 0}}, kDqsDelays}},
    {kDqsDelay<2>, {kAlways, {0, {7, 0}}, kDqsDelays}},
    {kDqsDelay<3>, {kAlways, {0, {7, 0}}, kDqsDelays}},
};
inline constexpr CAdditionalRegister kRevFAdditional[] = {
    {0x00, 1, kDriveRows},
    {0x10, 4, std::span(kDqsRows).subspan(0, 1)},
    {0x13, 4, std::span(kDqsRows).subspan(1, 1)},
    {0x16, 4, std::span(kDqsRows).subspan(2, 1)},
    {0x19, 4, std::span(kDqsRows).subspan(3, 1)},
};

// --- family 10h (DDR2 and DDR3) --------------------------------------------------------------------------------------

inline constexpr CBlock kFam10TimingBlocks[] = {{k88, 2}, {k78, 1}, {k84, 1}};
inline constexpr CBlock kFam10ConfigBlocks[] = {{k90, 2}, {k84, 1}};
inline constexpr CLayoutRow kFam10Layout[] = {
    {kDdr3 | kWide, {k94, {8, 8}}, 1},   // Ddr3Mode
    {kWide, {k94, {2, 0}}, 4},           // 533 MHz, the fastest DDR2
    {kBurst32, {k90, {10, 10}}, 1},      // BurstLength32
};
inline constexpr CTimingRow kFam10Timing[] = {
    {kTcl, {kDdr3, {k88, {3, 0}}, kCount<16, 4, 0, 9>}, {kAlways, {k88, {3, 0}}, kCount<16, 1, 0, 7>}},
    {kTrcd, {kWide, {k88, {6, 4}}, kCount<8, 5>}, {kAlways, {k88, {5, 4}}, kCount<4, 3>}},
    {kTrp, {kWide, {k88, {9, 7}}, kCount<8, 5>}, {kAlways, {k88, {9, 8}}, kCount<4, 3>}},
    {kTrtp, {kDdr3, {k88, {11, 10}}, kCount<4, 4>}, {kBurst32, {k88, {11, 11}}, kCount<2, 2>},
            {kAlways, {k88, {11, 11}}, kCount<2, 4>}},
    {kTras, {kWide, {k88, {15, 12}}, kCount<16, 15>}, {kAlways, {k88, {15, 12}}, kCount<16, 3>}},
    {kTrc, {kWide, {k88, {20, 16}}, kCount<32, 11>}, {kAlways, {k88, {19, 16}}, kCount<16, 11>}},
    {kTwr, {kWide, {k84, {6, 4}}, kTwrWide}, {kAlways, {k88, {21, 20}}, kCount<4, 3>}},
    {kTrrd, {kWide, {k88, {23, 22}}, kCount<4, 4>}, {kAlways, {k88, {23, 22}}, kCount<4, 2>}},
    {kTrfc0, {kDdr3, {k8C, {22, 20}}, kTrfcDdr3}, {kAlways, {k8C, {22, 20}}, kTrfcDdr2}},
    {kTrfc1, {kDdr3, {k8C, {25, 23}}, kTrfcDdr3}, {kAlways, {k8C, {25, 23}}, kTrfcDdr2}},
    {kTrfc2, {kDdr3, {k8C, {28, 26}}, kTrfcDdr3}, {kAlways, {k8C, {28, 26}}, kTrfcDdr2}},
    {kTrfc3, {kDdr3, {k8C, {31, 29}}, kTrfcDdr3}, {kAlways, {k8C, {31, 29}}, kTrfcDdr2}},
    {kTref, {kAlways, {k8C, {17, 16}}, kTrefTimes}},
    {kTwtr, {kWide, {k8C, {9, 8}}, kCount<4, 4>}, {kAlways, {k8C, {9, 8}}, kCount<4, 1, 1>}},
    {kTrwtTO, {kDdr3, {k8C, {7, 4}}, kCount<16, 3, 1>}, {kAlways, {k8C, {7, 4}}, kCount<16, 3, 1, 8>}},
    {kTwrrd, {kDdr3, {k8C, {11, 10}, k78, {9, 8}}, kCount<16, 2, 2, 11>}, {kAlways, {k8C, {11, 10}}, kCount<4, 1>}},
    {kTwrwr, {kDdr3, {k8C, {13, 12}, k78, {11, 10}}, kCount<16, 3, 2, 10>}, {kAlways, {k8C, {13, 12}}, kCount<4, 1>}},
    {kTrdrd, {kDdr3, {k8C, {15, 14}, k78, {13, 12}}, kCount<16, 2, 0, 9>}, {kAlways, {k8C, {15, 14}}, kCount<4, 2>}},
    {kTrwtWB, {kDdr3, {k8C, {3, 0}}, kCount<16, 3, 1>}, {kAlways, {k8C, {3, 0}}, kCount<16, 3, 1, 8>}},
    CTimingRow(kTwcl),  // Kept: listed, without any value
};
inline constexpr CConfigRow kFam10Config[] = {
    {kMemClk, {kDdr3, {k94, {2, 0}}, kDdr3Clocks}, {kAlways, {k94, {2, 0}}, kDdr2Clocks}},
    {kDramTerm, {kDdr3, {k84, {9, 7}}, kDdr3Term}, {kAlways, {k90, {5, 4}}, kDdr2Term}},
    {kFourActWindow, {kWide, {k94, {31, 28}}, kWideWindows}, {kAlways, {k94, {31, 28}}, kDdr2Windows}},
    {kDcqBypassMax, {kAlways, {k94, {27, 24}}, kCount<16, 0>}},
    {kIdleLimit, {kAlways, {k90, {22, 21}}, kIdleLimits}},
};
inline constexpr CFlagRow<MemConfig> kFam10Flags[] = {
    {kField<&MemConfig::bSlowAccessMode>, {k94, {20, 20}}},
    {kField<&MemConfig::bWeakDrivers>, {k90, {7, 7}}},
    {kField<&MemConfig::bDccEnable>, {k94, {22, 22}}},  // Kept: named after the K8's bit
    {kField<&MemConfig::bPowerDownEnable>, {k94, {15, 15}}},
};
inline constexpr CAdditionalRegister kFam10Additional[] = {{0x00, 1, kDriveRows}};

// --- family 11h (DDR2, two DIMM pairs) -------------------------------------------------------------------------------

inline constexpr CBlock kFam11TimingBlocks[] = {{k88, 2}, {k78, 1}};
inline constexpr CBlock kFam11ConfigBlocks[] = {{k90, 2}, {k78, 1}};
inline constexpr CLayoutRow kFam11Layout[] = {
    {kBurst32, {k90, {10, 10}}, 1},
    // FourRankSoDimm. The guide does not say what lengthens the turnarounds; of the configuration bits this one stands
    // for memory that needs it: two more ranks take turns on the data bus.
    {kTurnaround, {k94, {17, 17}}, 1},
};
inline constexpr CTimingRow kFam11Timing[] = {
    {kTcl, {kAlways, {k88, {3, 0}}, kCount<16, 3, 2, 6>}},
    {kTrcd, {kAlways, {k88, {5, 4}}, kCount<4, 3>}},
    {kTrp, {kAlways, {k88, {9, 8}}, kCount<4, 3>}},
    {kTrtp, {kBurst32, {k88, {11, 11}}, kCount<2, 2>}, {kAlways, {k88, {11, 11}}, kCount<2, 4>}},
    {kTras, {kAlways, {k88, {15, 12}}, kCount<16, 5, 2>}},
    {kTrc, {kAlways, {k88, {19, 16}}, kCount<16, 11>}},
    {kTwr, {kAlways, {k88, {21, 20}}, kCount<4, 3>}},
    {kTrrd, {kAlways, {k88, {23, 22}}, kCount<4, 2>}},
    {kTrfc0, {kAlways, {k8C, {22, 20}}, kTrfcDdr2}},
    {kTrfc1, {kAlways, {k8C, {25, 23}}, kTrfcDdr2}},
    {kTref, {kAlways, {k8C, {17, 16}}, kTrefTimes}},
    {kTrdrd, {kAlways, {k8C, {15, 14}}, kCount<4, 2>}},
    {kTwrwr, {kAlways, {k8C, {13, 12}}, kCount<4, 1>}},
    {kTwrrd, {kAlways, {k8C, {11, 10}}, kCount<4, 1>}},
    {kTwtr, {kAlways, {k8C, {9, 8}}, kCount<4, 1, 1>}},
    {kTrwtTO, {kTurnaround, {k8C, {7, 4}}, kCount<16, 6, 1, 8>}, {kAlways, {k8C, {7, 4}}, kCount<16, 3, 1, 8>}},
    {kTrwtWB, {kAlways, {k8C, {3, 0}}, kCount<16, 1, 1>}},
    CTimingRow(kTwcl),  // as family 10h
};
inline constexpr CConfigRow kFam11Config[] = {
    {kMemClk, {kAlways, {k94, {2, 0}}, kSlowDdr2Clocks}},
    {kDramTerm, {kAlways, {k90, {5, 4}}, kDdr2Term}},
    {kFourActWindow, {kAlways, {k94, {31, 28}}, kDdr2Windows}},
    {kDcqBypassMax, {kAlways, {k94, {27, 24}}, kCount<16, 0>}},
    {kIdleLimit, {kAlways, {k90, {22, 21}}, kIdleLimits}},
    // MaxRdLatency: the whole way to the modules and back, asynchronous part included, in north-bridge clocks. It is
    // trained by the firmware: a shorter one than the modules need hangs the machine.
    {kMaxAsyncLat, {kAlways, {k78, {31, 22}}, kCount<1024, 0>}},
};

// --- the families ----------------------------------------------------------------------------------------------------

consteval CDeviceIdentity g_Identity(const wchar_t* pszName, uint32_t uVersion) {
    return {.eType = vxtapi::kDeviceMemoryController, .pszName = pszName, .uVersion = uVersion,
            .pszVendor = kMakerVendor};
}
inline constexpr uint32_t kJedecDdr = 7, kJedecDdr2 = 8, kJedecDdr3 = 11;  // SPD memory type numbers

inline constexpr CMemoryRules kFirstK8Rules{
    .pszClass = "CMoldanMemoryController", .Identity = g_Identity(L"Internal DDR Memory Controller", 20070322),
    .rFamily = kFirstK8, .uMemoryType = kJedecDdr,
    .uRegisterSets = 1, .ChannelUsed = {k94, {25, 25}}, .oBothUsed = kFirstBothUsed,
    .TimingBlocks = kFirstTimingBlocks, .ConfigBlocks = kFirstConfigBlocks,
    .Timing = kFirstTiming, .Config = kFirstConfig, .Flags = kFirstFlags};
inline constexpr CMemoryRules kRevisionFRules{
    .pszClass = "CKDFMemoryController", .Identity = g_Identity(L"Internal DDR2 Memory Controller", 20070403),
    .rFamily = kRevisionF, .uMemoryType = kJedecDdr2,
    .uRegisterSets = 1, .ChannelUsed = {k94, {3, 3}}, .oBothUsed = kRevFBothUsed,
    .TimingBlocks = kRevFTimingBlocks, .ConfigBlocks = kRevFConfigBlocks,
    .Timing = kRevFTiming, .Config = kRevFConfig, .Flags = kRevFFlags,
    .Additional = kRevFAdditional, .uAdditionalOfB = 0x20};
inline constexpr CMemoryRules kFamily10hRules{
    .pszClass = "CBrevikMemoryController", .Identity = g_Identity(L"Internal DDR2 DDR3 Memory Controller", 20070518),
    .rFamily = kFamily10h, .uMemoryType = kJedecDdr2,
    .uRegisterSets = 2, .ChannelUsed = {k94, {3, 3}},
    .bExtendedSpace = true, .bChannelSelect = true, .bWritesBoth = true,
    .TimingBlocks = kFam10TimingBlocks, .ConfigBlocks = kFam10ConfigBlocks, .Layout = kFam10Layout,
    .Timing = kFam10Timing, .Config = kFam10Config, .Flags = kFam10Flags,
    .Additional = kFam10Additional};
inline constexpr CMemoryRules kFamily11hRules{
    .pszClass = "CTalvorMemoryController",
    .Identity = g_Identity(L"QOR Family 11h Processor Internal Memory Controller", 20071108),
    .rFamily = kFamily11h, .uMemoryType = kJedecDdr2,
    .uRegisterSets = 2, .ChannelUsed = {k94, {3, 3}}, .bExtendedSpace = true, .bChannelSelect = true,
    .TimingBlocks = kFam11TimingBlocks, .ConfigBlocks = kFam11ConfigBlocks, .Layout = kFam11Layout,
    .Timing = kFam11Timing, .Config = kFam11Config, .Flags = kFam10Flags,
    .Additional = kFam10Additional};
// clang-format on

}  // namespace vxt::memory
