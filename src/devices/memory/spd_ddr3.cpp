// Modules of DDR3.
#include "devices/memory/spd_ddr3_rows.h"

namespace vxt::spd {

namespace {

/// The units of the module's times, in ns; nothing where a denominator or numerator is 0.
class CTimeBases {
public:
    explicit CTimeBases(const CImage& rImage)
        : m_rImage(rImage),
          m_odMedium(_Ratio(kMediumNumerator, kMediumDenominator, 1)),
          m_odFine(_Ratio(kFineNumerator, kFineDenominator, 0.001)) {}

    /// Nothing, too, for a count of 0 and for less than nothing.
    std::optional<double> Time(const CCountRow& rRow) const {
        const std::optional<uint32_t> ouMedium = m_rImage.Code(rRow.Medium);
        const std::optional<uint32_t> ouFine = rRow.oFine ? m_rImage.Code(*rRow.oFine) : 0;
        if (!ouMedium || *ouMedium == 0 || !ouFine || !m_odMedium || (*ouFine != 0 && !m_odFine)) return std::nullopt;
        const double dTime = *ouMedium * *m_odMedium + static_cast<int8_t>(*ouFine) * m_odFine.value_or(0);
        return dTime > 0 ? std::optional(dTime) : std::nullopt;
    }

private:
    std::optional<double> _Ratio(const CField& rNumerator, const CField& rDenominator, double dUnit) const {
        const double dNumerator = m_rImage.Code(rNumerator).value_or(0);
        const double dDenominator = m_rImage.Code(rDenominator).value_or(0);
        return dNumerator > 0 && dDenominator > 0 ? std::optional(dUnit * dNumerator / dDenominator) : std::nullopt;
    }

    const CImage& m_rImage;
    std::optional<double> m_odMedium, m_odFine;
};

void g_DecodeSize(const CImage& rImage, CSpdRecord& rRecord) {
    const std::optional<uint32_t> ouCapacity = rImage.Count(kCapacity);
    if (!ouCapacity || !rRecord.ouDataWidth || !rRecord.ouDeviceWidth || !rRecord.ouRanks) return;
    if (*rRecord.ouDataWidth >= *rRecord.ouDeviceWidth)
        rRecord.ouSize = *ouCapacity * (*rRecord.ouDataWidth / *rRecord.ouDeviceWidth) * *rRecord.ouRanks;
}

/// The fastest clock, of the standard's and the module's own, at which the latency is long enough and not too long.
void g_AddFastest(CSpdRecord& rRecord, double dLatency, const CStandardClock& rOwn, const CTimes& rTimes) {
    const auto bAdded = [&](const CStandardClock& rClock) {
        const double dNeeded = kDdr3Rounding.ClocksOf(*rTimes[kSpdTcl], rClock.dPeriod);
        if (dNeeded > dLatency || dLatency * rClock.dPeriod > kLongestCas + kPeriodTolerance) return false;
        g_AddGrade(rRecord, dLatency, rClock, rTimes, kDdr3Rounding);
        return true;
    };
    if (bAdded(rOwn)) return;
    for (const CStandardClock& rClock : kDdr3Clocks)
        if (rClock.dPeriod > rOwn.dPeriod && bAdded(rClock)) return;
}

void g_DecodeGrades(const CImage& rImage, CSpdRecord& rRecord) {
    const CTimeBases Bases(rImage);
    CTimes aodTimes;
    for (const CDdr3TimeRow& rRow : kDdr3Times) aodTimes[rRow.eTiming] = Bases.Time(rRow.Count);
    const std::optional<double> odPeriod = Bases.Time(kDdr3Period);
    if (!odPeriod || !aodTimes[kSpdTcl]) return;
    for (const double dLatency : rRecord.CasLatencies)
        g_AddFastest(rRecord, dLatency, g_ClockOf(*odPeriod, kDdr3Clocks), aodTimes);
    g_SortGrades(rRecord);
}

}  // namespace

void g_DecodeDdr3(const CImage& rImage, CSpdRecord& rRecord) {
    rRecord.eModule = g_ModuleOf(rImage, kDdr3Module, kDdr3Modules);
    rRecord.ouDataWidth = rImage.Count(kDdr3DataWidth);
    rRecord.ouEccWidth = rImage.Count(kDdr3EccWidth);
    rRecord.ouDeviceWidth = rImage.Count(kDdr3DeviceWidth);
    rRecord.ouBanks = rImage.Count(kDdr3Banks);
    rRecord.ouRows = rImage.Count(kDdr3Rows);
    rRecord.ouColumns = rImage.Count(kDdr3Columns);
    rRecord.ouRanks = rImage.Count(kDdr3Ranks);
    for (const CVoltageRow& rRow : kDdr3Voltages)
        if (rImage.Code(rRow.Bit) == rRow.uWorks) rRecord.Voltages.Add(rRow.dVoltage);
    g_DecodeSize(rImage, rRecord);
    g_AddLatencies(rRecord, rImage.Code(kDdr3CasMask).value_or(0), kDdr3FirstCas, 1);
    g_DecodeGrades(rImage, rRecord);
}

}  // namespace vxt::spd
