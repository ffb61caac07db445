// What is known of a search for the highest clock, on disk: it may end with the PC's death, and the next start goes on.
#pragma once

#include "user_records.h"

namespace vxtctl {

/// A clock as a search tests it.
struct CTunedClock {
    double dReferenceClock;  ///< MHz
    double dMultiplier;

    double CoreClock() const { return dReferenceClock * dMultiplier; }
    bool operator==(const CTunedClock&) const = default;
};

/// "215 MHz x 16 = 3440 MHz"
std::string g_ClockText(const CTunedClock& rClock);

/// What a search changes, as it was before.
struct CClockState {
    double dReferenceClock;           ///< MHz
    std::vector<double> Multipliers;  ///< by core

    /// Of the first core.
    CTunedClock First() const { return {dReferenceClock, Multipliers.front()}; }
    bool operator==(const CClockState&) const = default;
};

/// The same; multipliers that differ one by one: "215 MHz x 16 16 8 16".
std::string g_ClockText(const CClockState& rState);

enum class EPointEnd { kInProgress, kPassed, kFailed, kStopped, kDied };
/// "passed", as JSON has it.
const char* g_Word(EPointEnd eEnd);

/// A clock and what came of it.
struct CTunePoint {
    CTunedClock Clock;
    std::string sBegun;                       ///< UTC, "2026-11-22T03:00:00.000Z"
    uint32_t uSeconds = 0;                    ///< of its test, to ten seconds where that was cut off
    uint32_t uDuration = 0;                   ///< that the test was to take
    EPointEnd eEnd = EPointEnd::kInProgress;  ///< kInProgress of a process that is gone: the PC died, or it was killed
    std::string sError = {};                  ///< of kFailed, in words
};

/// "215 MHz x 16 = 3440 MHz failed after 40 s: ..."
std::string g_PointText(const CTunePoint& rPoint);

enum class ETuneEnd { kInProgress, kFinished, kFailed, kBelowDeath, kInterrupted, kTooHot, kBroken };
const char* g_Word(ETuneEnd eEnd);

/// A search, with those that went on with it.
struct CTuneRecord {
    std::string sBegun, sEnded = {};  ///< UTC; the latter empty: not yet
    CClockState Before;
    ETuneEnd eEnd = ETuneEnd::kInProgress;
    std::string sReason = {};  ///< of an end that nobody asked for
    std::vector<CTunePoint> Points = {};
    std::optional<CTunedClock> oFound = {};

    /// It came to a result: there is nothing to go on with.
    bool IsOver() const {
        return eEnd == ETuneEnd::kFinished || eEnd == ETuneEnd::kFailed || eEnd == ETuneEnd::kBelowDeath;
    }
    /// Of a process that is gone: the lowest one that ended it or the PC and was not survived since; nothing: none.
    std::optional<CTunePoint> Deadly() const;
    /// The highest core clock that passed, and did not fail later; nothing: none.
    std::optional<CTunedClock> Best() const;
    /// From a process that is gone: the clock that was being tested then counts as deadly from now on.
    void TakeOver();
};

/// The last search on each PC. One process at a time searches.
class CTuneRecords : public CUserRecords {
public:
    explicit CTuneRecords(const CHostLibrary& rLibrary);

    /// On this PC.
    std::optional<CTuneRecord> Last() const;
    /// With the lock only. On the disk when it returns.
    void SetLast(const CTuneRecord& rRecord);
};

}  // namespace vxtctl
