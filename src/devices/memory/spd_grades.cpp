#include "devices/memory/spd_grades.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace vxt::spd {

static constexpr double kNoise = 1e-6;  // of a data rate, MT/s: 10/3 ns are 600

CStandardClock g_ClockOf(double dPeriod, std::span<const CStandardClock> Standard) {
    for (const CStandardClock& rClock : Standard)
        if (std::abs(rClock.dPeriod - dPeriod) < kPeriodTolerance) return rClock;
    const bool bIsClock = dPeriod >= kShortestPeriod && dPeriod <= kLongestPeriod;
    return {dPeriod, bIsClock ? static_cast<uint32_t>(2000 / dPeriod + kNoise) : 0};
}

double CRounding::ClocksOf(double dNs, double dPeriod) const {
    return std::max(1.0, std::ceil(dNs / dPeriod - dGuard));
}

void g_AddGrade(CSpdRecord& rRecord, double dCasLatency, const CStandardClock& rClock, const CTimes& rTimes,
                const CRounding& rRounding) {
    if (rClock.uDataRate == 0) return;
    CSpdGrade Grade{dCasLatency, 1000 / rClock.dPeriod, rClock.uDataRate, {}};
    for (size_t i = 0; i < kSpdTimings; ++i)
        if (rTimes[i]) Grade.aoTimes[i] = {*rTimes[i], rRounding.ClocksOf(*rTimes[i], rClock.dPeriod)};
    for (const CRounding::CLeast& rLeast : rRounding.Least)
        if (auto& roTime = Grade.aoTimes[rLeast.eTiming]) roTime->dClocks = std::max(roTime->dClocks, rLeast.dClocks);
    Grade.aoTimes[kSpdTcl] = {rTimes[kSpdTcl].value_or(dCasLatency * rClock.dPeriod), dCasLatency};
    rRecord.Grades.Add(Grade);
}

void g_SortGrades(CSpdRecord& rRecord) {
    std::ranges::sort(rRecord.Grades, [](const CSpdGrade& rLeft, const CSpdGrade& rRight) {
        return std::tuple(-rLeft.dClock, rLeft.dCasLatency) < std::tuple(-rRight.dClock, rRight.dCasLatency);
    });
}

}  // namespace vxt::spd
