// Modules of DDR and DDR2, whose SPD data are laid out alike.
#include <bit>
#include <cmath>

#include "devices/memory/spd_ddr_rows.h"

namespace vxt::spd {

namespace {

/// The bits of a power of two are for data; what is above them is for ECC: one bit for each byte, or eight.
void g_SplitWidth(uint32_t uWidth, CSpdRecord& rRecord) {
    const uint32_t uData = std::bit_floor(uWidth), uEcc = uWidth - uData;
    if (uData < 8 || uData > 128 || (uEcc != 0 && uEcc != uData / 8 && uEcc != 8)) return;
    rRecord.ouDataWidth = uData;
    rRecord.ouEccWidth = uEcc;
}

/// MiB by rows, columns, banks and ranks.
std::optional<uint32_t> g_SizeOfGeometry(const CSpdRecord& rRecord) {
    if (!rRecord.ouRows || !rRecord.ouColumns || !rRecord.ouBanks || !rRecord.ouDataWidth || !rRecord.ouRanks)
        return std::nullopt;
    constexpr int kMiB = 20;
    constexpr double kMost = 1 << 20;  // MiB; far more than their row and column lines can reach
    const uint32_t uRowBytes = *rRecord.ouBanks * *rRecord.ouDataWidth / 8 * *rRecord.ouRanks;
    const double dSize = std::ldexp(uRowBytes, static_cast<int>(*rRecord.ouRows + *rRecord.ouColumns) - kMiB);
    return dSize >= 1 && dSize <= kMost ? std::optional(static_cast<uint32_t>(dSize)) : std::nullopt;
}

/// MiB by what is said of a rank's size: one bit for all ranks, or one for each of two that differ.
std::optional<uint32_t> g_SizeOfRanks(const CImage& rImage, const CDdrRules& rRules, bool bRanksDiffer,
                                      const CSpdRecord& rRecord) {
    const uint32_t uBits = rImage.Code(rRules.RankSize.Field).value_or(0), uHighest = std::bit_floor(uBits);
    const auto SizeOf = [&](uint32_t uBit) { return static_cast<uint32_t>(rRules.RankSize.Values.Decode(uBit)); };
    if (!rRecord.ouRanks || uBits == 0) return std::nullopt;
    if (uBits == uHighest) return SizeOf(uBits) * *rRecord.ouRanks;
    const bool bTwo = bRanksDiffer && *rRecord.ouRanks == 2 && std::popcount(uBits) == 2;
    return bTwo ? std::optional(SizeOf(uHighest) + SizeOf(uBits - uHighest)) : std::nullopt;
}

/// What is said of a rank's size comes first: it is right also where rows and columns are those of another module.
void g_DecodeSize(const CImage& rImage, const CDdrRules& rRules, CSpdRecord& rRecord) {
    const bool bRanksDiffer = rRules.oOtherRank && rImage.Code(*rRules.oOtherRank).value_or(0) != 0;
    const std::optional<uint32_t> ouByRanks = g_SizeOfRanks(rImage, rRules, bRanksDiffer, rRecord);
    const std::optional<uint32_t> ouByGeometry = bRanksDiffer ? std::nullopt : g_SizeOfGeometry(rRecord);
    rRecord.ouSize = ouByRanks ? ouByRanks : ouByGeometry;
    rRecord.bSizeDoubtful = ouByRanks && ouByGeometry && *ouByRanks != *ouByGeometry;
}

CTimes g_DecodeTimes(const CImage& rImage, std::span<const CTimeRow> Rows) {
    CTimes aodTimes;
    for (const CTimeRow& rRow : Rows) {
        const std::optional<double> odTime = rImage.Value(rRow.Time);
        const std::optional<double> odFraction = rRow.oFraction ? rImage.Value(*rRow.oFraction) : 0.0;
        if (odTime && odFraction) aodTimes[rRow.eTiming] = *odTime + *odFraction;
    }
    return aodTimes;
}

void g_Decode(const CImage& rImage, const CDdrRules& rRules, CSpdRecord& rRecord) {
    rRecord.eModule = g_ModuleOf(rImage, rRules.Module, rRules.Modules);
    g_SplitWidth(rImage.Code(rRules.Width).value_or(0), rRecord);
    rRecord.ouDeviceWidth = rImage.Count(kDdrDeviceWidth);
    rRecord.ouBanks = rImage.Count(kDdrBanks);
    rRecord.ouRows = rImage.Count(rRules.Rows);
    rRecord.ouColumns = rImage.Count(rRules.Columns);
    rRecord.ouRanks = rImage.Count(rRules.Ranks);
    if (const std::optional<double> odVoltage = rImage.Value(kDdrVoltage)) rRecord.Voltages.Add(*odVoltage);
    g_DecodeSize(rImage, rRules, rRecord);

    const uint32_t uMask = rImage.Code(rRules.CasMask).value_or(0);
    g_AddLatencies(rRecord, uMask, rRules.dFirstCas, rRules.dCasStep);
    if (rRecord.CasLatencies.empty()) return;
    const CTimes aodTimes = g_DecodeTimes(rImage, rRules.Times);
    const double dHighest = rRecord.CasLatencies[rRecord.CasLatencies.size() - 1];
    double dShortest = 0;  // ns; a lower latency allows no faster clock
    for (const CLatencyRow& rRow : rRules.Latencies) {
        const double dLatency = dHighest - rRow.dBelow;
        const std::optional<double> odPeriod = rImage.Value(rRow.Period);
        if (!odPeriod || *odPeriod < dShortest) continue;
        dShortest = *odPeriod;
        if (std::ranges::find(rRecord.CasLatencies, dLatency) != rRecord.CasLatencies.end())
            g_AddGrade(rRecord, dLatency, g_ClockOf(*odPeriod, rRules.Clocks), aodTimes, rRules.Rounding);
    }
    g_SortGrades(rRecord);
}

}  // namespace

void g_DecodeDdr(const CImage& rImage, CSpdRecord& rRecord) { g_Decode(rImage, kDdrRules, rRecord); }
void g_DecodeDdr2(const CImage& rImage, CSpdRecord& rRecord) { g_Decode(rImage, kDdr2Rules, rRecord); }

}  // namespace vxt::spd
