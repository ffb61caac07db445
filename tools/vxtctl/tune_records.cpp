#include "tune_records.h"

#include <algorithm>

#include "common/text.h"

namespace vxtctl {

using vxttools::CJson;
using vxttools::g_Trimmed;

namespace {

// By EPointEnd and ETuneEnd.
constexpr const char* kPointWords[] = {"in_progress", "passed", "failed", "stopped", "died"};
/// In a sentence, before the seconds.
constexpr const char* kPointVerbs[] = {"was being tested for", "passed", "failed after", "was stopped after",
                                       "ended this PC, or vxtctl was killed, after about"};
constexpr const char* kEndWords[] = {"in_progress", "finished", "at_limit", "below_death",
                                     "interrupted", "too_hot",  "broken"};

/// Nothing where it is none of the words.
template <class TEnd> std::optional<TEnd> g_FromWord(const CJson& rRecord, const char* pszKey, const auto& aWords) {
    if (!rRecord.Has(pszKey) || !rRecord[pszKey].IsText()) return std::nullopt;
    const auto it = std::ranges::find(aWords, rRecord[pszKey].Text());
    return it == std::end(aWords) ? std::nullopt : std::optional(static_cast<TEnd>(it - std::begin(aWords)));
}

std::optional<std::string> g_Text(const CJson& rRecord, const char* pszKey) {
    return rRecord.Has(pszKey) && rRecord[pszKey].IsText() ? std::optional(rRecord[pszKey].Text()) : std::nullopt;
}

/// Nothing where there is no such number above the lower limit.
std::optional<double> g_Number(const CJson& rRecord, const char* pszKey, double dMost, double dLeast = 0) {
    const std::optional<double> oNumber = rRecord.Has(pszKey) ? rRecord[pszKey].Number() : std::nullopt;
    return oNumber && *oNumber >= dLeast && *oNumber <= dMost ? oNumber : std::nullopt;
}

constexpr double kHighestMultiplier = 1000, kLongest = 1e9;  // of a multiplier; seconds
constexpr double kLowest = 0.01;                             // of both, clock and multiplier

CJson g_ToJson(const CTunedClock& rClock) {
    return {{"reference_clock", rClock.dReferenceClock}, {"multiplier", rClock.dMultiplier}};
}
std::optional<CTunedClock> g_ClockFromJson(const CJson& rRecord) {
    const auto oClock = g_Number(rRecord, "reference_clock", vxttools::kPlausibleClock.dHigh, kLowest),
               oMultiplier = g_Number(rRecord, "multiplier", kHighestMultiplier, kLowest);
    return oClock && oMultiplier ? std::optional(CTunedClock{*oClock, *oMultiplier}) : std::nullopt;
}

CJson g_ToJson(const CTunePoint& rPoint) {
    CJson Point = g_ToJson(rPoint.Clock);
    Point["begun"] = rPoint.sBegun;
    Point["seconds"] = rPoint.uSeconds;
    Point["duration"] = rPoint.uDuration;
    Point["result"] = g_Word(rPoint.eEnd);
    Point["error"] = rPoint.sError;
    return Point;
}
std::optional<CTunePoint> g_PointFromJson(const CJson& rRecord) {
    const auto oClock = g_ClockFromJson(rRecord);
    const auto osBegun = g_Text(rRecord, "begun"), osError = g_Text(rRecord, "error");
    const auto oSeconds = g_Number(rRecord, "seconds", kLongest), oDuration = g_Number(rRecord, "duration", kLongest);
    const auto oeEnd = g_FromWord<EPointEnd>(rRecord, "result", kPointWords);
    if (!oClock || !osBegun || !osError || !oSeconds || !oDuration || !oeEnd) return std::nullopt;
    return CTunePoint{*oClock, *osBegun, static_cast<uint32_t>(*oSeconds), static_cast<uint32_t>(*oDuration),
                      *oeEnd,  *osError};
}

CJson g_ToJson(const CTuneRecord& rRecord) {
    CJson Points = CJson::Array();
    for (const CTunePoint& rPoint : rRecord.Points) Points.Push(g_ToJson(rPoint));
    return {{"begun", rRecord.sBegun},
            {"ended", rRecord.sEnded},
            {"status", g_Word(rRecord.eEnd)},
            {"reason", rRecord.sReason},
            {"reference_clock", rRecord.Before.dReferenceClock},
            {"multipliers", rRecord.Before.Multipliers},
            {"points", Points},
            {"found", rRecord.oFound ? g_ToJson(*rRecord.oFound) : nullptr}};
}

/// Nothing where it is no record.
std::optional<CTuneRecord> g_FromJson(const CJson& rRecord) {
    const auto osBegun = g_Text(rRecord, "begun"), osEnded = g_Text(rRecord, "ended"),
               osReason = g_Text(rRecord, "reason");
    const auto oeEnd = g_FromWord<ETuneEnd>(rRecord, "status", kEndWords);
    const auto oClock = g_Number(rRecord, "reference_clock", vxttools::kPlausibleClock.dHigh, kLowest);
    const auto HasArray = [&](const char* pszKey) { return rRecord.Has(pszKey) && rRecord[pszKey].IsArray(); };
    if (!osBegun || !osEnded || !osReason || !oeEnd || !oClock || !HasArray("points") || !HasArray("multipliers") ||
        !rRecord.Has("found"))
        return std::nullopt;
    CTuneRecord Record{*osBegun, *osEnded, {*oClock, {}}, *oeEnd, *osReason};
    for (const CJson& rMultiplier : rRecord["multipliers"].Items()) {
        const std::optional<double> oMultiplier = rMultiplier.Number();
        if (!oMultiplier || !(*oMultiplier >= kLowest && *oMultiplier <= kHighestMultiplier)) return std::nullopt;
        Record.Before.Multipliers.push_back(*oMultiplier);
    }
    for (const CJson& rItem : rRecord["points"].Items()) {
        const std::optional<CTunePoint> oPoint = g_PointFromJson(rItem);
        if (!oPoint) return std::nullopt;
        Record.Points.push_back(*oPoint);
    }
    Record.oFound = g_ClockFromJson(rRecord["found"]);
    const bool bFound = Record.oFound || rRecord["found"].IsNull();
    return bFound && !Record.Before.Multipliers.empty() ? std::optional(Record) : std::nullopt;
}

constexpr CRecordKind kKind{
    "clock-searches", "searches",
    "searches for the highest clock; nothing was done. Without the file it begins anew, and no search "
    "can be resumed",
    1, [](const CJson& rRecord) { return g_FromJson(rRecord).has_value(); }};

}  // namespace

const char* g_Word(EPointEnd eEnd) { return kPointWords[static_cast<size_t>(eEnd)]; }
std::string g_PointText(const CTunePoint& rPoint) {
    return g_ClockText(rPoint.Clock) + " " + kPointVerbs[static_cast<size_t>(rPoint.eEnd)] + " " +
           std::to_string(rPoint.uSeconds) + " s" + (rPoint.sError.empty() ? "" : ": " + rPoint.sError);
}

const char* g_Word(ETuneEnd eEnd) { return kEndWords[static_cast<size_t>(eEnd)]; }

std::string g_ClockText(const CTunedClock& rClock) {
    return g_Trimmed(rClock.dReferenceClock, 3) + " MHz x " + g_Trimmed(rClock.dMultiplier, 3) + " = " +
           g_Trimmed(rClock.CoreClock(), 1) + " MHz";
}

std::string g_ClockText(const CClockState& rState) {
    const double dFirst = rState.Multipliers.front();
    if (std::ranges::all_of(rState.Multipliers, [&](double d) { return d == dFirst; }))
        return g_ClockText(rState.First());
    std::string sText = g_Trimmed(rState.dReferenceClock, 3) + " MHz x";
    for (const double dMultiplier : rState.Multipliers) sText += " " + g_Trimmed(dMultiplier, 3);
    return sText;
}

void CTuneRecord::TakeOver() {
    for (CTunePoint& rPoint : Points)
        if (rPoint.eEnd == EPointEnd::kInProgress) rPoint.eEnd = EPointEnd::kDied;
}

std::optional<CTunePoint> CTuneRecord::Deadly() const {
    std::optional<CTunePoint> oDeadly;
    for (auto it = Points.begin(); it != Points.end(); ++it) {
        const auto Survived = [&](const CTunePoint& r) {
            return r.eEnd == EPointEnd::kPassed && r.Clock.CoreClock() >= it->Clock.CoreClock();
        };
        const bool bDied = it->eEnd == EPointEnd::kDied || it->eEnd == EPointEnd::kInProgress;
        if (!bDied || std::any_of(it, Points.end(), Survived)) continue;
        if (!oDeadly || it->Clock.CoreClock() < oDeadly->Clock.CoreClock()) oDeadly = *it;
    }
    return oDeadly;
}

std::optional<CTunedClock> CTuneRecord::Best() const {
    std::optional<CTunedClock> oBest;
    for (auto it = Points.begin(); it != Points.end(); ++it) {
        const auto Fails = [&](const CTunePoint& r) { return r.eEnd == EPointEnd::kFailed && r.Clock == it->Clock; };
        if (it->eEnd != EPointEnd::kPassed || std::any_of(it, Points.end(), Fails)) continue;
        if (!oBest || it->Clock.CoreClock() > oBest->CoreClock()) oBest = it->Clock;
    }
    return oBest;
}

CTuneRecords::CTuneRecords(const CHostLibrary& rLibrary) : CUserRecords(rLibrary, kKind) {}

std::optional<CTuneRecord> CTuneRecords::Last() const {
    const std::vector<CJson> Records = OfThisPc();
    return Records.empty() ? std::nullopt : g_FromJson(Records.back());
}

void CTuneRecords::SetLast(const CTuneRecord& rRecord) { Replace({g_ToJson(rRecord)}); }

}  // namespace vxtctl
