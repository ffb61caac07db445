// The processor's HyperTransport links, register by register. Source: HyperTransport I/O Link 3.0, 7.5 (slave/primary
// interface block), and the public BIOS and kernel developer's guides of families 0Fh, 10h and 11h.
#pragma once

#include <vxtapi/ht_link.h>

#include <algorithm>

#include "devices/framework/device_base.h"
#include "hw/index_data_pair.h"
#include "hw/processor_family.h"
#include "registers/ht_frequency.h"
#include "registers/record_field.h"

namespace vxt::ht {

using vxtapi::HTConfig;

inline constexpr uint32_t kFirstLinkBlock = 0x80, kLinkBlockStride = 0x20;  ///< in function 0

/// A link's block: capability header, control and configuration, frequency and revision.
using CLinkBlock = std::array<uint32_t, 3>;
inline constexpr uint8_t kControlWord = 1, kFrequencyWord = 2;

consteval CRegisterField g_Control(uint8_t uHigh, uint8_t uLow) { return {kControlWord, CBitField(uHigh, uLow)}; }
consteval CRegisterField g_Control(uint8_t uBit) { return g_Control(uBit, uBit); }

template <size_t uFlag> inline constexpr auto kControl = kField<&HTConfig::abControl, uFlag>;
inline constexpr CFlagRow<HTConfig> kFlagRows[] = {
    {kControl<0>, g_Control(1)},
    {kControl<1>, g_Control(2)},
    {kControl<2>, g_Control(3)},
    {kControl<3>, g_Control(6)},
    {kControl<4>, g_Control(7)},
    {kControl<5>, g_Control(8), EFlagUse::kWriteOnly},  // Kept: the lower half's CRC error is written, never reported
    {kControl<6>, g_Control(9)},
    {kControl<7>, g_Control(11)},
    {kControl<8>, g_Control(12)},
    {kControl<9>, g_Control(13)},
    {kControl<10>, g_Control(14)},
    {kControl<11>, g_Control(15)},
    {kField<&HTConfig::bMaxInFlowControl>, g_Control(19)},
    {kField<&HTConfig::bMaxOutFlowControl>, g_Control(23)},
    {kField<&HTConfig::bInFlowControl>, g_Control(27)},
    {kField<&HTConfig::bOutFlowControl>, g_Control(31)},
};
/// Bits of the control word that are rebuilt from the record's flags. The others stay as they were read, but for
/// widths.
consteval uint32_t g_FlagBits() {
    CLinkBlock Block{};
    for (const CFlagRow<HTConfig>& rRow : kFlagRows) rRow.Bit.Set(Block, 1);
    return Block[kControlWord];
}
static_assert(~g_FlagBits() == 0x77770431);

/// Bits.
inline constexpr double kWidthValues[] = {8, 16, kReserved, 32, 2, 4, kReserved, kReserved, kEndOfTable};
inline constexpr CValueTable kWidths(kWidthValues);

struct CNumberRow {
    CRecordField<HTConfig, double> Number;
    CRegisterField Field;
    CValueTable Values;
};
inline constexpr CNumberRow kNumberRows[] = {
    {kField<&HTConfig::dMaxInWidth>, g_Control(18, 16), kWidths},
    {kField<&HTConfig::dMaxOutWidth>, g_Control(22, 20), kWidths},
    {kField<&HTConfig::dInWidth>, g_Control(26, 24), kWidths},
    {kField<&HTConfig::dOutWidth>, g_Control(30, 28), kWidths},
    {kField<&HTConfig::dFrequency>, g_FrequencyField(kFrequencyWord), kFrequencies},
};
static_assert(std::ranges::all_of(kNumberRows, [](const CNumberRow& rRow) { return rRow.Values.Covers(rRow.Field); }));

inline constexpr CRecordRow<HTConfig, uint32_t> kRevisionRows[] = {
    {kField<&HTConfig::uRevisionMinor>, {kFrequencyWord, {4, 0}}},
    {kField<&HTConfig::uRevisionMajor>, {kFrequencyWord, {7, 5}}},
};

// A link above 1000 MHz. Function 0:
inline constexpr double kLastSlowFrequency = 5.0;  ///< units of 200 MHz
inline constexpr uint32_t kRetryRegister = 0x130, kRetryEnable = 1u << 0;
inline constexpr uint32_t kExtendedControlRegister = 0x170, kScrambleEnable = 1u << 3;
inline constexpr uint32_t kTrainingRegister = 0x16C;  ///< bits 5:0 training time, 15:13 always the whole of it
inline constexpr uint32_t kTrainingClear = 0x35, kTrainingSet = 0xE00A;
inline constexpr uint32_t kTransactionRegister = 0x168, kThrottleDisable = 1u << 10;
// Link PHY: an index/data pair for each link
inline constexpr uint32_t kPhyPair = 0x180, kPhyPairStride = 8;
inline constexpr uint32_t kPhyIndexMask = 0x1FF;
inline constexpr CPollLimit kPhyPoll{50'000, "uCounter < 50000"};
inline constexpr uint32_t kPhyFastRegisters[] = {0xC5, 0xD5}, kPhyFastValue = 0x801F0000;

/// What one family does differently from the others.
struct CLinkRules {
    const char* pszClass;  ///< under which the family's failed checks are logged
    CDeviceIdentity Identity;
    const CProcessorFamily& rFamily;
    uint32_t uLinks;
    const char* pszLinkCheck;  ///< as logged
    bool bWritesRevision;      ///< back, as the record has it
};
consteval CDeviceIdentity g_LinkIdentity(const wchar_t* pszName, uint32_t uVersion, const wchar_t* pszModel) {
    return {.eType = vxtapi::kDeviceHtLink,
            .pszName = pszName,
            .uVersion = uVersion,
            .pszModel = pszModel,
            .pszDescription = pszModel,
            .pszVendor = kMakerVendor};
}
// clang-format off
inline constexpr CLinkRules kK8Rules{
    .pszClass = "CHTLink",
    .Identity = g_LinkIdentity(L"Internal HyperTransport(TM) Link Controller", 20070322,
                               L"HyperTransport(TM) Link Controller"),
    .rFamily = kRevisionF,  // the first generations' links have the same identity
    .uLinks = 3, .pszLinkCheck = "uIndex < 3", .bWritesRevision = true};
inline constexpr CLinkRules kFamily10hRules{
    .pszClass = "CBrevikHTLink",
    .Identity = g_LinkIdentity(L"Internal HyperTransport(TM) 3 Link Controller", 20070601,
                               L"HyperTransport(TM) 3 Link Controller"),
    .rFamily = kFamily10h,
    .uLinks = 4, .pszLinkCheck = "uIndex < 4", .bWritesRevision = false};
inline constexpr const wchar_t* kFamily11hName = L"QOR Family 11h Processor HyperTransport(TM) 3 Link Controller";
inline constexpr CLinkRules kFamily11hRules{
    .pszClass = "CTalvorHTLink", .Identity = g_LinkIdentity(kFamily11hName, 20071112, kFamily11hName),
    .rFamily = kFamily11h,
    .uLinks = 4, .pszLinkCheck = "uIndex < 4", .bWritesRevision = false};
// clang-format on

}  // namespace vxt::ht
