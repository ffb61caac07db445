#include "tune_report.h"

#include <algorithm>

#include "common/text.h"

namespace vxtctl {

using vxttools::CDocument;
using vxttools::CJson;
using vxttools::CTextTable;
using vxttools::g_Trimmed;

namespace {

constexpr uint32_t kSecondsEach = 120;  ///< the library's test of a clock takes two minutes at least

constexpr const char* kCells[] = {"in progress", "passed", "FAILED", "stopped", "DIED"};  ///< by EPointEnd

/// "1 h 20 min"
std::string g_Duration(uint64_t ullSeconds) {
    const uint64_t ullMinutes = (ullSeconds + 30) / 60;
    if (ullMinutes < 60) return std::to_string(ullMinutes) + " min";
    return std::to_string(ullMinutes / 60) + " h" +
           (ullMinutes % 60 ? " " + std::to_string(ullMinutes % 60) + " min" : "");
}

CJson g_ToJson(const CTunedClock& rClock) {
    return {{"reference_clock", vxttools::g_ToJson(std::optional(rClock.dReferenceClock))},
            {"multiplier", vxttools::g_ToJson(std::optional(rClock.dMultiplier))},
            {"core_clock", vxttools::g_ToJson(std::optional(rClock.CoreClock()))}};
}

CJson g_ToJson(const CClockState& rState) {
    return {{"reference_clock", vxttools::g_ToJson(std::optional(rState.dReferenceClock))},
            {"multipliers", rState.Multipliers}};
}

CJson g_TextOrNull(const std::string& sText) { return sText.empty() ? nullptr : CJson(sText); }

const char* g_Status(const CTuneResult& rResult) {
    if (!rResult.pRecord) return rResult.eView == ETuneView::kPlanned ? "planned" : "none";
    if (rResult.eView == ETuneView::kRunning) return "running";
    return rResult.pRecord->eEnd == ETuneEnd::kInProgress ? "died" : g_Word(rResult.pRecord->eEnd);
}

const char* g_LastWord(int32_t nStatus) {
    switch (nStatus) {
        case vxtapi::kTuneFinished:
            return "finished";
        case vxtapi::kTuneStopped:
            return "stopped";
        case vxtapi::kTuneFailed:
            return "failed";
        default:
            return "never";
    }
}

/// The last point of that kind; empty: there is none.
std::string g_LastPointText(const CTuneRecord& rRecord, EPointEnd eEnd) {
    const auto it =
        std::find_if(rRecord.Points.rbegin(), rRecord.Points.rend(), [&](const auto& r) { return r.eEnd == eEnd; });
    return it == rRecord.Points.rend() ? "" : g_PointText(*it);
}

/// What is in force behind a search that this process made; empty: what it found.
std::string g_Outcome(const CTuneResult& rResult) {
    if (!rResult.oPutBack) return "";
    const std::string sBefore = g_ClockText(rResult.pRecord->Before);
    return *rResult.oPutBack ? "what was before is set again: " + sBefore
                             : "what was before, " + sBefore + ", COULD NOT BE SET AGAIN: " + rResult.sPutBackProblem;
}

void g_Append(std::string& rsText, const std::string& sPart) {
    if (!sPart.empty()) rsText += (rsText.empty() ? "" : "; ") + sPart;
}

constexpr const char* kGoesOn = "'vxtctl tune --resume' goes on";

std::string g_DeadText(const CTuneRecord& rRecord) {
    const auto IsOpen = [](const CTunePoint& r) { return r.eEnd == EPointEnd::kInProgress; };
    const auto it = std::ranges::find_if(rRecord.Points, IsOpen);
    std::string sText =
        "the search of " + rRecord.sBegun + " did not come to an end: this PC died, or vxtctl was killed";
    if (it != rRecord.Points.end())
        sText += ", at " + g_ClockText(it->Clock) + " after about " + std::to_string(it->uSeconds) + " s";
    return sText;
}

/// What was being tested by a process that is gone died with it.
EPointEnd g_End(const CTunePoint& rPoint, const CTuneResult& rResult) {
    const bool bDied = rPoint.eEnd == EPointEnd::kInProgress && rResult.eView == ETuneView::kRemembered;
    return bDied ? EPointEnd::kDied : rPoint.eEnd;
}

CTextTable g_PointTable(const CTuneResult& rResult) {
    CTextTable Table{
        "Tested clocks",
        {">No", ">Reference clock", ">Multiplier", ">Core clock", ">Tested", "Result", "~Error", "~~Begun"}};
    const std::vector<CTunePoint>& rPoints = rResult.pRecord->Points;
    for (size_t i = 0; i < rPoints.size(); ++i) {
        const CTunePoint& rPoint = rPoints[i];
        Table.Rows.push_back({std::to_string(i + 1), g_Trimmed(rPoint.Clock.dReferenceClock, 3) + " MHz",
                              "x " + g_Trimmed(rPoint.Clock.dMultiplier, 3),
                              g_Trimmed(rPoint.Clock.CoreClock(), 1) + " MHz", std::to_string(rPoint.uSeconds) + " s",
                              kCells[static_cast<size_t>(g_End(rPoint, rResult))], rPoint.sError, rPoint.sBegun});
    }
    return Table;
}

}  // namespace

CTextTable g_PlanTable(const CTunePlan& rPlan, const CTuneMachine& rMachine) {
    const CSetting& rClock = rMachine.ReferenceClock();
    CTextTable Table{"Planned search for the highest clock", {"", ""}};
    const auto Add = [&](const char* pszWhat, const std::string& sText) { Table.Rows.push_back({pszWhat, sText}); };
    Add("Now", g_ClockText(rPlan.Now));
    Add("Reference clocks", g_LegalText(rClock));
    Add("Multiplier",
        rMachine.IsMultiplierFree()
            ? "free: goes up a step where the reference clock has gained more than that is worth, which then "
              "begins again at its default"
            : "locked: goes to its maximum first");
    const uint32_t uClocks = rMachine.ClocksAbove();
    Add("Test", "all cores at full load, " + g_Duration(kSecondsEach) + " or more at each clock, " +
                    g_Duration(uint64_t{uClocks} * kSecondsEach) + " for the " + std::to_string(uClocks) +
                    " above the present one" +
                    (rMachine.IsMultiplierFree() ? ", and as much for each multiplier" : ""));
    Add("Temperatures", rPlan.sWatched.empty() ? "there is none that could be watched" : rPlan.sWatched);
    Add("If this PC dies", "it starts 'vxtctl AutoTune' at the next log-on (this user's RunOnce key), which goes on" +
                               (rPlan.sRecord.empty() ? "; no record is kept" : "; the record is " + rPlan.sRecord));
    if (!rPlan.sResumed.empty()) Add("Goes on with", "the search of " + rPlan.sResumed);
    Add("In the end",
        rPlan.bPutBack ? "what was before the search is set again" : "the clock that was found stays set");
    return Table;
}

CJson g_ToJson(const CTunePlan& rPlan, const CTuneMachine& rMachine) {
    const CSetting& rClock = rMachine.ReferenceClock();
    CJson Plan = g_ToJson(rPlan.Now);
    Plan["limits"] = vxttools::g_ToJson(rClock.Limits);
    Plan["step"] = vxttools::g_ToJson(rClock.oStep);
    Plan["legal"] = rClock.Legal.empty() ? nullptr : CJson(rClock.Legal);
    Plan["clocks"] = rMachine.ClocksAbove();
    Plan["multiplier_free"] = rMachine.IsMultiplierFree();
    Plan["seconds_each"] = kSecondsEach;
    Plan["watched"] = g_TextOrNull(rPlan.sWatched);
    Plan["record"] = g_TextOrNull(rPlan.sRecord);
    Plan["resumed"] = g_TextOrNull(rPlan.sResumed);
    Plan["put_back"] = rPlan.bPutBack;
    return Plan;
}

std::string g_TuneMessage(const CTuneResult& rResult) {
    if (!rResult.pRecord)
        return rResult.eView == ETuneView::kPlanned ? "nothing was done" : "no search is known on this PC";
    const CTuneRecord& rRecord = *rResult.pRecord;
    if (rResult.eView == ETuneView::kRunning)
        return "another vxtctl searches at this moment" +
               (rRecord.Points.empty() ? "" : ": " + g_PointText(rRecord.Points.back()));
    std::string sText;
    const bool bStays = rResult.eView == ETuneView::kSearched && !rResult.oPutBack;
    if (rRecord.oFound)
        sText = "found: " + g_ClockText(*rRecord.oFound) + (bStays ? ", which stays set" : "");
    else if (rRecord.IsOver())
        sText = rRecord.Points.empty() ? "nothing was tested" : "no clock passed";
    switch (rRecord.eEnd) {
        case ETuneEnd::kInProgress:
            sText = g_DeadText(rRecord);
            g_Append(sText, std::string(kGoesOn) + (rRecord.Deadly() ? " below that, --retry tries it again" : ""));
            break;
        case ETuneEnd::kFinished:
            g_Append(sText, "the top of the range is reached");
            break;
        case ETuneEnd::kFailed:
            g_Append(sText, g_LastPointText(rRecord, EPointEnd::kFailed));
            break;
        case ETuneEnd::kBelowDeath:
            g_Append(sText, g_LastPointText(rRecord, EPointEnd::kDied) + ", and is not tried again without --retry");
            break;
        case ETuneEnd::kInterrupted:
            sText = "interrupted";
            g_Append(sText, g_LastPointText(rRecord, EPointEnd::kStopped));
            break;
        case ETuneEnd::kTooHot:
            sText = "too hot: " + rRecord.sReason;
            break;
        case ETuneEnd::kBroken:
            sText = "the search could not go on: " + rRecord.sReason;
            break;
    }
    if (rResult.eView == ETuneView::kSearched) g_Append(sText, g_Outcome(rResult));
    const bool bGoesOn = rResult.bIsKept && !rRecord.IsOver() && rRecord.eEnd != ETuneEnd::kInProgress;
    if (bGoesOn) g_Append(sText, kGoesOn);
    return sText;
}

void g_AddTune(CDocument& rDocument, const CTuneResult& rResult) {
    const CTuneRecord* const pRecord = rResult.pRecord;
    const auto Text = [&](const std::string CTuneRecord::*pText) {
        return pRecord ? g_TextOrNull(pRecord->*pText) : CJson();
    };
    const std::string sMessage = g_TuneMessage(rResult);
    rDocument["status"] = g_Status(rResult);
    rDocument["message"] = sMessage;
    rDocument["begun"] = Text(&CTuneRecord::sBegun);
    rDocument["ended"] = Text(&CTuneRecord::sEnded);
    rDocument["reason"] = Text(&CTuneRecord::sReason);
    rDocument["before"] = pRecord ? g_ToJson(pRecord->Before) : CJson();
    rDocument["found"] = pRecord && pRecord->oFound ? g_ToJson(*pRecord->oFound) : CJson();
    rDocument["in_force"] = rResult.oInForce ? g_ToJson(*rResult.oInForce) : CJson();
    rDocument["put_back"] = rResult.oPutBack;
    rDocument["last_status"] = rResult.onLast ? CJson(g_LastWord(*rResult.onLast)) : CJson();
    rDocument["chart"] = rResult.oChart;
    CJson& rPoints = rDocument["points"] = CJson::Array();
    for (size_t i = 0; pRecord && i < pRecord->Points.size(); ++i) {
        const CTunePoint& rPoint = pRecord->Points[i];
        CJson Point{{"id", "/tune/" + std::to_string(i + 1)}, {"number", i + 1}};
        const CJson Clock = g_ToJson(rPoint.Clock);
        for (const auto& [sKey, Value] : Clock.Members()) Point[sKey] = Value;
        Point["unit"] = "MHz";
        Point["begun"] = rPoint.sBegun;
        Point["seconds"] = rPoint.uSeconds;
        Point["duration"] = rPoint.uDuration;
        Point["result"] = g_Word(g_End(rPoint, rResult));
        Point["error"] = g_TextOrNull(rPoint.sError);
        rPoints.Push(std::move(Point));
    }
    rDocument.SetCsv("points");
    if (rResult.eView != ETuneView::kPlanned) rDocument.AddTable({"Search for the highest clock", {""}, {{sMessage}}});
    if (pRecord && !pRecord->Points.empty()) rDocument.AddTable(g_PointTable(rResult));
}

}  // namespace vxtctl
