// SPD data of DDR and DDR2 modules as rows. Source: JEDEC standard 21-C, 4.1.2.4 (SPD for DDR SDRAM) and 4.1.2.10 (SPD for
// DDR2 SDRAM).
#pragma once

#include <bit>

#include "devices/memory/spd_types.h"

namespace vxt::spd {

/// A supported latency below the highest one, and the shortest clock period at it.
struct CLatencyRow {
    double dBelow;  ///< clocks
    CValueField Period;
};

struct CTimeRow {
    ESpdTiming eTiming;
    CValueField Time;
    std::optional<CValueField> oFraction = std::nullopt;
};

/// What DDR and DDR2 do differently.
struct CDdrRules {
    CField Module;
    std::span<const CModuleRow> Modules;
    CField Width;  ///< bits, those for ECC included
    CValueField Rows, Columns, Ranks, RankSize;
    std::optional<CField> oOtherRank;  ///< rows and columns of the second rank; 0: as the first
    CField CasMask;
    double dFirstCas, dCasStep;
    std::span<const CLatencyRow> Latencies;
    std::span<const CTimeRow> Times;
    std::span<const CStandardClock> Clocks;
    const CRounding& Rounding;
};

// --- value tables ----------------------------------------------------------------------------------------------------

inline constexpr double kVoltageValues[] = {5, 3.3, 1.5, 3.3, 2.5, 1.8, kEndOfTable};  // V
inline constexpr auto kNumberValues = g_MakeValues<32>([](int nCode) { return nCode ? nCode : kReserved; });
inline constexpr auto kFromOneValues = g_MakeValues<8>([](int nCode) { return nCode + 1; });
inline constexpr CValueTable kVoltages(kVoltageValues), kNumbers(kNumberValues), kFromOne(kFromOneValues);

// ns. A code of 0 says nothing; FFh neither where it is no quarter.
inline constexpr auto kQuarterValues = g_MakeValues<256>([](int nCode) { return nCode ? nCode / 4.0 : kReserved; });
inline constexpr auto kWholeValues = g_MakeValues<256>([](int nCode) { return nCode ? nCode : kReserved; });
inline constexpr auto kRowCycleValues =
    g_MakeValues<256>([](int nCode) { return nCode && nCode < 0xFF ? nCode : kReserved; });
inline constexpr auto kRefreshValues = g_MakeValues<512>([](int nCode) { return nCode ? nCode : kReserved; });
inline constexpr double kFractionValues[] = {0, 0.25, 1.0 / 3, 0.5, 2.0 / 3, 0.75, kReserved, kReserved, kEndOfTable};
inline constexpr CValueTable kQuarters(kQuarterValues), kWhole(kWholeValues), kRowCycle(kRowCycleValues),
    kRefresh(kRefreshValues), kFractions(kFractionValues);

// ns: the upper four bits, and tenths by the lower ones; DDR2 has fractions behind them.
inline constexpr auto kDdrPeriodValues = g_MakeValues<256>([](int nCode) {
    const int nWhole = nCode / 16, nTenths = nCode % 16;
    return nWhole == 0 || nTenths > 9 ? kReserved : nWhole + nTenths / 10.0;
});
inline constexpr double kPeriodFractions[] = {0.25, 1.0 / 3, 2.0 / 3, 0.75};
inline constexpr auto kDdr2PeriodValues = g_MakeValues<256>([](int nCode) {
    const int nWhole = nCode / 16, nFraction = nCode % 16 - 10;
    if (nFraction < 0) return kDdrPeriodValues[static_cast<size_t>(nCode)];
    return nWhole == 0 || nFraction > 3 ? kReserved : nWhole + kPeriodFractions[nFraction];
});
inline constexpr CValueTable kDdrPeriods(kDdrPeriodValues), kDdr2Periods(kDdr2PeriodValues);

/// MiB of a rank: one bit each, those up to `nLastGiB` from 1 GiB on, the others down from 512 MiB.
template <int nLastGiB>
inline constexpr auto kRankSizeValues = g_MakeValues<256>([](int nCode) {
    const int nBit = std::countr_zero(static_cast<unsigned>(nCode));
    return !std::has_single_bit(static_cast<unsigned>(nCode)) ? kReserved
           : nBit <= nLastGiB                                 ? 1024 << nBit
                                                              : 512 >> (7 - nBit);
});
inline constexpr CValueTable kDdrRankSizes(kRankSizeValues<2>), kDdr2RankSizes(kRankSizeValues<4>);

// --- fields ----------------------------------------------------------------------------------------------------------

// clang-format off
inline constexpr CValueField kDdrVoltage{8, kVoltages};
inline constexpr CValueField kDdrDeviceWidth{{13, {6, 0}}, kOneOf<128, 4, 8, 16, 32>};
inline constexpr CValueField kDdrBanks{17, kOneOf<256, 2, 4, 8>};
inline constexpr CIdentity kDdrIdentity{.Revision = 62, .uPartNumber = 73, .Year = 93, .Week = 94, .uSerial = 95};

inline constexpr CModuleRow kDdrModules[] = {
    {0, ESpdModule::kUnbuffered}, {1, ESpdModule::kBuffered}, {2, ESpdModule::kRegistered},
};
inline constexpr CLatencyRow kDdrLatencies[] = {{0, {9, kDdrPeriods}}, {0.5, {23, kDdrPeriods}}, {1, {25, kDdrPeriods}}};
inline constexpr CTimeRow kDdrTimes[] = {
    {kSpdTrp, {27, kQuarters}},
    {kSpdTrrd, {28, kQuarters}},
    {kSpdTrcd, {29, kQuarters}},
    {kSpdTras, {30, kWhole}},
    {kSpdTrc, {41, kRowCycle}},
    {kSpdTrfc, {42, kWhole}},
};
inline constexpr CDdrRules kDdrRules{
    .Module = {21, {1, 0}}, .Modules = kDdrModules,
    .Width = {6, {7, 0}, 7, {7, 0}},
    .Rows = {{3, {3, 0}}, kNumbers}, .Columns = {{4, {3, 0}}, kNumbers},
    .Ranks = {5, kOneOf<256, 1, 2, 3, 4, 8>}, .RankSize = {31, kDdrRankSizes},
    .oOtherRank = CField{3, {7, 4}, 4, {7, 4}},
    .CasMask = {18, {6, 0}}, .dFirstCas = 1, .dCasStep = 0.5,
    .Latencies = kDdrLatencies, .Times = kDdrTimes, .Clocks = kDdrClocks, .Rounding = kDdrRounding,
};

inline constexpr CModuleRow kDdr2Modules[] = {
    {0x01, ESpdModule::kRdimm}, {0x02, ESpdModule::kUdimm}, {0x04, ESpdModule::kSoDimm}, {0x06, ESpdModule::kSoCdimm72},
    {0x07, ESpdModule::kSoRdimm72}, {0x08, ESpdModule::kMicroDimm}, {0x10, ESpdModule::kMiniRdimm}, {0x20, ESpdModule::kMiniUdimm},
};
inline constexpr CLatencyRow kDdr2Latencies[] = {{0, {9, kDdr2Periods}}, {1, {23, kDdr2Periods}}, {2, {25, kDdr2Periods}}};
inline constexpr CTimeRow kDdr2Times[] = {
    {kSpdTrp, {27, kQuarters}},
    {kSpdTrrd, {28, kQuarters}},
    {kSpdTrcd, {29, kQuarters}},
    {kSpdTras, {30, kWhole}},
    {kSpdTwr, {36, kQuarters}},
    {kSpdTwtr, {37, kQuarters}},
    {kSpdTrtp, {38, kQuarters}},
    {kSpdTrc, {41, kRowCycle}, CValueField{{40, {6, 4}}, kFractions}},
    {kSpdTrfc, {{42, {7, 0}, 40, {0, 0}}, kRefresh}, CValueField{{40, {3, 1}}, kFractions}},
};
inline constexpr CDdrRules kDdr2Rules{
    .Module = {20}, .Modules = kDdr2Modules,
    .Width = {6},
    .Rows = {{3, {4, 0}}, kNumbers}, .Columns = {{4, {4, 0}}, kNumbers},
    .Ranks = {{5, {2, 0}}, kFromOne}, .RankSize = {31, kDdr2RankSizes},
    .oOtherRank = std::nullopt,
    .CasMask = {18, {7, 2}}, .dFirstCas = 2, .dCasStep = 1,
    .Latencies = kDdr2Latencies, .Times = kDdr2Times, .Clocks = kDdr2Clocks, .Rounding = kDdr2Rounding,
};
// clang-format on

}  // namespace vxt::spd
