// Grades of memory modules: which clock a CAS latency allows, and how many clocks a time takes there.
#pragma once

#include "devices/memory/spd.h"

namespace vxt::spd {

using CTimes = std::array<std::optional<double>, kSpdTimings>;  ///< ns

/// A clock that the standard of a memory type names.
struct CStandardClock {
    double dPeriod;  ///< ns
    uint32_t uDataRate;
};
/// The fastest first.
inline constexpr CStandardClock kDdrClocks[] = {{5, 400}, {6, 333}, {7.5, 266}, {10, 200}};
inline constexpr CStandardClock kDdr2Clocks[] = {{1.875, 1066}, {2.5, 800}, {3, 667}, {3.75, 533}, {5, 400}};
inline constexpr CStandardClock kDdr3Clocks[] = {{15.0 / 16, 2133}, {15.0 / 14, 1866}, {1.25, 1600},
                                                 {1.5, 1333},       {1.875, 1066},     {2.5, 800}};

inline constexpr double kShortestPeriod = 0.5, kLongestPeriod = 20;  ///< ns; others are no clock of a module
/// Periods are written to 1 ps, and some modules cut where others round: 1.071 or 1.070 for 15/14 ns.
inline constexpr double kPeriodTolerance = 0.002;

/// The standard's clock of this period, or one of this period.
CStandardClock g_ClockOf(double dPeriod, std::span<const CStandardClock> Standard);

/// How times become clocks.
struct CRounding {
    double dGuard;  ///< clocks: so much more than a whole number counts as that one
    struct CLeast {
        ESpdTiming eTiming;
        double dClocks;
    };
    std::span<const CLeast> Least;  ///< clocks that the memory takes at any clock, however short the time

    /// Whole clocks that a time takes, rounded up; one at least.
    double ClocksOf(double dNs, double dPeriod) const;
};
/// Two clocks with DDR2 (JESD79-2, timing parameters), four with DDR3 (JESD79-3, the same).
inline constexpr CRounding::CLeast kDdr2Least[] = {{kSpdTrrd, 2}, {kSpdTwtr, 2}, {kSpdTrtp, 2}};
inline constexpr CRounding::CLeast kDdr3Least[] = {{kSpdTrrd, 4}, {kSpdTwtr, 4}, {kSpdTrtp, 4}};
/// DDR, DDR2: no more than the noise of the calculation. DDR3: periods are written to 1 ps, and the standard takes 1 % of
/// a clock off before it rounds up.
inline constexpr CRounding kDdrRounding{1e-6, {}}, kDdr2Rounding{1e-6, kDdr2Least}, kDdr3Rounding{0.01, kDdr3Least};

/// Adds the grade of a CAS latency at a clock; one whose clock cannot be is left out. The latency's time is in `Times`, or
/// is what its clocks take.
void g_AddGrade(CSpdRecord& rRecord, double dCasLatency, const CStandardClock& rClock, const CTimes& rTimes,
                const CRounding& rRounding);
/// Brings the grades into the record's order.
void g_SortGrades(CSpdRecord& rRecord);

}  // namespace vxt::spd
