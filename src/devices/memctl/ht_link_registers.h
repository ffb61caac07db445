// The processor's HyperTransport links, register by register. Source: HyperTransport I/O Link 3.0, 7.5 (slave/primary
// interface block), and the public BIOS and kernel developer's guides of families 0Fh, 10h and 11h.
#pragma once

#include <vxtapi/ht_link.h>

#include "hw/index_data_pair.h"
#include "registers/ht_frequency.h"

namespace vxt::ht {

using vxtapi::HTConfig;

inline constexpr uint16_t kProcessorVendor = 0x1022;
inline constexpr uint32_t kFirstLinkBlock = 0x80, kLinkBlockStride = 0x20;  ///< in function 0

/// A link's block: capability header, control and configuration, frequency and revision.
using CLinkBlock = std::array<uint32_t, 3>;
inline constexpr uint8_t kControlWord = 1, kFrequencyWord = 2;

consteval CRegisterField g_Control(uint8_t uHigh, uint8_t uLow) { return {kControlWord, CBitField(uHigh, uLow)}; }
consteval CRegisterField g_Control(uint8_t uBit) { return g_Control(uBit, uBit); }

/// Bits of HTConfig::abControl, slot by slot.
struct CControlRow {
    CRegisterField Bit;
    bool bReported = true;
};
// clang-format off
inline constexpr CControlRow kControlRows[] = {
    {g_Control(1)}, {g_Control(2)}, {g_Control(3)}, {g_Control(6)}, {g_Control(7)},
    {g_Control(8), false},  // Kept: the CRC error of the lower half is written, but never reported
    {g_Control(9)}, {g_Control(11)}, {g_Control(12)}, {g_Control(13)}, {g_Control(14)}, {g_Control(15)},
};
// clang-format on
static_assert(std::size(kControlRows) == std::size(HTConfig{}.abControl));

/// Bits.
inline constexpr double kWidthValues[] = {8, 16, kReserved, 32, 2, 4, kReserved, kReserved, kEndOfTable};
inline constexpr CValueTable kWidths(kWidthValues);

struct CWidthRow {
    double HTConfig::*pWidth;
    CRegisterField Width;
    bool HTConfig::*pFlowControl;
    CRegisterField FlowControl;
};
inline constexpr CWidthRow kWidthRows[] = {
    {&HTConfig::dMaxInWidth, g_Control(18, 16), &HTConfig::bMaxInFlowControl, g_Control(19)},
    {&HTConfig::dMaxOutWidth, g_Control(22, 20), &HTConfig::bMaxOutFlowControl, g_Control(23)},
    {&HTConfig::dInWidth, g_Control(26, 24), &HTConfig::bInFlowControl, g_Control(27)},
    {&HTConfig::dOutWidth, g_Control(30, 28), &HTConfig::bOutFlowControl, g_Control(31)},
};
static_assert(kWidths.Covers(kWidthRows[0].Width));

/// Bits of the control word that are rebuilt from the record's flags. The others stay as they were read, but for
/// widths.
consteval uint32_t g_FlagBits() {
    CLinkBlock Block{};
    for (const CControlRow& rRow : kControlRows) rRow.Bit.Set(Block, 1);
    for (const CWidthRow& rRow : kWidthRows) rRow.FlowControl.Set(Block, 1);
    return Block[kControlWord];
}
static_assert(~g_FlagBits() == 0x77770431);

inline constexpr CRegisterField kRevisionMinor{kFrequencyWord, CBitField(4, 0)},
    kRevisionMajor{kFrequencyWord, CBitField(7, 5)};
inline constexpr CRegisterField kFrequency = g_FrequencyField(kFrequencyWord);

// A link above 1000 MHz. Function 0:
inline constexpr double kLastSlowFrequency = 5.0;  ///< units of 200 MHz
inline constexpr uint32_t kRetryRegister = 0x130, kRetryEnable = 1u << 0;
inline constexpr uint32_t kExtendedControlRegister = 0x170, kScrambleEnable = 1u << 3;
inline constexpr uint32_t kTrainingRegister = 0x16C;  ///< bits 5:0 training time, 15:13 always the whole of it
inline constexpr uint32_t kTrainingClear = 0x35, kTrainingSet = 0xE00A;
inline constexpr uint32_t kTransactionRegister = 0x168, kThrottleDisable = 1u << 10;
// Link PHY: an index/data pair for each link, in the function four further
inline constexpr uint32_t kPhyFunction = 4, kPhyPair = 0x180, kPhyPairStride = 8;
inline constexpr uint32_t kPhyIndexMask = 0x1FF;
inline constexpr CPollLimit kPhyPoll{50'000, "uCounter < 50000"};
inline constexpr uint32_t kPhyFastRegisters[] = {0xC5, 0xD5}, kPhyFastValue = 0x801F0000;

/// What one family does differently from the others.
struct CFamilyLinks {
    const char* pszClass;  ///< under which the family's failed checks are logged
    uint16_t usDevice;     ///< of function 0
    uint32_t uLinks;
    const char* pszLinkCheck;  ///< as logged
    bool bWritesRevision;      ///< back, as the record has it
};
inline constexpr CFamilyLinks kLinksK8{"CHTLink", 0x1100, 3, "uIndex < 3", true},
    kLinks10h{"CBrevikHTLink", 0x1200, 4, "uIndex < 4", false},
    kLinks11h{"CTalvorHTLink", 0x1300, 4, "uIndex < 4", false};

}  // namespace vxt::ht
