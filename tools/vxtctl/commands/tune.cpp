// vxtctl tune: the highest stable reference clock, found by trying.
#include <algorithm>

#include "common/console.h"
#include "common/text.h"
#include "tune_chart.h"
#include "tune_report.h"
#include "tune_search.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    bool bStatus = false, bResume = false, bFresh = false, bRetry = false, bPutBack = false;
    std::optional<double> oLimit = {};
    std::optional<std::string> oChart = {};
};
constexpr COption<CWanted> kOptions[] = {
    {"--status", "", "Only show what is known of this PC's last search", &CWanted::bStatus},
    {"--resume", "", "Go on with the search that was interrupted or died", &CWanted::bResume, false, "--status"},
    {"--fresh", "", "Begin anew, also where the last search died", &CWanted::bFresh, false, "--resume"},
    {"--retry", "", "With --resume: also try the clock again at which this PC died", &CWanted::bRetry, false,
     "--fresh"},
    {"--put-back", "", "In the end set again what was before the search", &CWanted::bPutBack, false, "--status"},
    {"--limit", "CELSIUS", "End when a temperature rises above it; 70 where the chip tells no limit", &CWanted::oLimit,
     false, "--status"},
    {"--chart", "FILE", "Draw the tested clocks over their time into an SVG file", &CWanted::oChart},
};

/// Ends the command when the request makes no sense on any machine, or the picture cannot be written.
void g_CheckRequest(const CTool& rTool, const CWanted& rWanted) {
    if (rWanted.bStatus && rWanted.bFresh) throw CFailure(EExit::kUsage, "--status excludes --fresh");
    if (rWanted.bRetry && !rWanted.bResume) throw CFailure(EExit::kUsage, "--retry: goes with --resume only");
    if (!rWanted.oChart) return;
    if (*rWanted.oChart == "-" || rWanted.oChart == rTool.Options().oOutput)
        throw CFailure(EExit::kUsage, "--chart draws into a file of its own");
    g_CheckChartFile(*rWanted.oChart);
}

/// Draws the picture, if one is wanted. Returns whether it is where it should be.
bool g_Draw(const CTool& rTool, const CWanted& rWanted, CTuneResult& rResult) {
    if (!rWanted.oChart) return true;
    if (!rResult.pRecord || rResult.pRecord->Points.empty()) {
        rTool.Output().Note("no clock was tested: there is nothing to draw");
        return true;
    }
    try {
        g_WriteFile(g_Path(*rWanted.oChart), *rWanted.oChart, g_TuneChart(*rResult.pRecord, g_TuneMessage(rResult)));
        rResult.oChart = rWanted.oChart;
        return true;
    } catch (const CFailure& rFailure) {  // what was found matters more
        g_PrintRemark(rFailure.what());
        return false;
    }
}

// --- what is known

EExit g_Status(CTool& rTool, const CWanted& rWanted, const CHostLibrary& rLibrary) {
    CTuneRecords Records(rLibrary);
    std::optional<CTuneRecord> oRecord = Records.Last();
    CTuneResult Result{ETuneView::kRemembered, nullptr, std::nullopt, std::nullopt};
    if (oRecord && oRecord->eEnd == ETuneEnd::kInProgress) {
        try {
            if (Records.IsBusyElsewhere()) Result.eView = ETuneView::kRunning;
            oRecord = Records.Last();  // it may have ended meanwhile
        } catch (const CFailure&) {}   // a folder that cannot be written: nobody searches there
    }
    if (oRecord) Result.pRecord = &*oRecord;
    if (vxtapi::CSystemTune* const pTuner = rLibrary.Performance().GetSystemTune())
        Result.onLast = pTuner->GetLastTuneStatus();
    try {
        Result.oInForce = CTuneMachine(rLibrary).Read();
    } catch (const CFailure&) {  // what is known counts, if anything is
        if (!Result.pRecord) throw;
    }
    CDocument Document = rTool.NewDocument();
    Document["dry_run"] = false;
    Document["plan"] = nullptr;
    const bool bDrawn = g_Draw(rTool, rWanted, Result);
    g_AddTune(Document, Result);
    const EExit eFindings = rLibrary.Emit(rTool, Document);
    return bDrawn ? eFindings : EExit::kFailed;
}

// --- a search

/// The record that a search keeps. Ends the command where there is none to go on with, or one that has to be decided on.
CTuneRecord g_NewRecord(const CWanted& rWanted, CTuneRecords& rRecords, const CClockState& rNow) {
    std::optional<CTuneRecord> oLast = rRecords.Last();
    const std::string sNow = g_IsoTime(std::chrono::system_clock::now());
    if (rWanted.bResume) {
        const bool bTriesAgain = oLast && oLast->eEnd == ETuneEnd::kBelowDeath && rWanted.bRetry;
        if (!oLast || (oLast->IsOver() && !bTriesAgain))
            throw CFailure(EExit::kFailed, std::string("there is nothing to resume: ") +
                                               (oLast ? "the search of " + oLast->sBegun + " came to its end"
                                                      : "no search is known on this PC"));
        oLast->TakeOver();
        oLast->eEnd = ETuneEnd::kInProgress;
        oLast->sEnded.clear(), oLast->sReason.clear();
        return *oLast;
    }
    if (oLast && oLast->eEnd == ETuneEnd::kInProgress && !rWanted.bFresh)
        throw CFailure(EExit::kFailed, g_TuneMessage({ETuneView::kRemembered, &*oLast, std::nullopt, std::nullopt}) +
                                           ". --fresh begins anew; nothing was done");
    return {.sBegun = sNow, .Before = oLast && !oLast->IsOver() ? oLast->Before : rNow};  // not what it died at
}

/// Shows the plan, and asks where something could break.
void g_Ask(const CTool& rTool, const CHostLibrary& rLibrary, const CTunePlan& rPlan, const CTuneMachine& rMachine,
           bool bYes) {
    CDocument Plan("", "");
    Plan.AddTable(g_PlanTable(rPlan, rMachine));
    const std::string sPlan = Plan.Text(false, g_StderrColumns().value_or(kUnlimited));
    if (bYes || rLibrary.IsSimulated()) return rTool.Output().Note(sPlan);
    if (!g_IsStdinTerminal())
        throw CFailure(EExit::kUsage, "no terminal to ask on: --yes searches without asking, --dry-run shows the plan");
    g_PrintRemark(sPlan);
    if (!g_AskYes("Raise the clock until a test fails?"))
        throw CFailure(g_WasInterrupted() ? EExit::kInterrupted : EExit::kFailed, "nothing was done");
}

/// A search begins at the best clock that has passed, else at what was before it, wherever the library itself would begin:
/// also where the clock that was being tested when an earlier one died is still in force. Why it cannot; empty: it can.
std::string g_GoThere(const CTuneMachine& rMachine, const CTuneRecord& rRecord) {
    const std::optional<CTunedClock> oBest = rRecord.Best();
    const std::string sProblem = rMachine.Set(oBest ? rMachine.OnAllCores(*oBest) : rRecord.Before);
    return sProblem.empty() ? "" : "the clock to go on at was not taken: " + sProblem;
}

/// What is in force afterwards: the clock that was found, or what was before. Adds to the findings what is not as it should
/// be.
void g_Settle(const CWanted& rWanted, const CTuneMachine& rMachine, CTuneRecord& rRecord, CTuneResult& rResult,
              CFindings& rFindings) {
    rResult.oInForce = rMachine.Read();
    if (rRecord.oFound && !rWanted.bPutBack && rMachine.Is(rResult.oInForce, *rRecord.oFound)) return;
    if (!rRecord.oFound || rWanted.bPutBack) {
        rResult.sPutBackProblem = rMachine.Set(rRecord.Before);
        rResult.oPutBack = rResult.sPutBackProblem.empty();
    } else if (rResult.oInForce) {
        // The library went to another one, which it never tested. A core that is apart from the others stays that.
        CClockState Found = *rResult.oInForce;
        Found.dReferenceClock = rRecord.oFound->dReferenceClock;
        std::ranges::replace(Found.Multipliers, rResult.oInForce->Multipliers.front(), rRecord.oFound->dMultiplier);
        (void)rMachine.Set(Found);
    }
    rResult.oInForce = rMachine.Read();
    if (rResult.oPutBack || !rRecord.oFound || rMachine.Is(rResult.oInForce, *rRecord.oFound)) return;
    rFindings.push_back("the clock that was found, " + g_ClockText(*rRecord.oFound) +
                        ", is not the one in force: " + (rResult.oInForce ? g_ClockText(*rResult.oInForce) : kNotRead));
}

EExit g_Exit(const CTuneResult& rResult) {
    if (rResult.pRecord->eEnd == ETuneEnd::kInterrupted) return EExit::kInterrupted;
    const bool bFound = rResult.pRecord->IsOver() && (rResult.pRecord->oFound || rResult.pRecord->Points.empty());
    return bFound && rResult.oPutBack != false ? EExit::kDone : EExit::kFailed;
}

/// The record of a search that ended. Returns whether it is on disk.
bool g_Keep(CTuneRecords& rRecords, const CTuneRecord& rRecord) {
    try {
        rRecords.SetLast(rRecord);
        return true;
    } catch (const CFailure& rFailure) {
        if (rRecord.sReason != rFailure.what()) g_PrintRemark(rFailure.what());
        g_PrintRemark("on the disk the last clock is still being tested: 'vxtctl tune --resume --retry' goes on there");
        return false;
    }
}

EExit g_Search(CTool& rTool, const CWanted& rWanted, const CHostLibrary& rLibrary, bool bYes) {
    const CTuneMachine Machine(rLibrary);
    if (const size_t uCores = rLibrary.Devices(vxtapi::kDeviceCpu).size(); uCores < rLibrary.ExpectedCores())
        throw CFailure(EExit::kFailed, "only " + std::to_string(uCores) + " of " +
                                           std::to_string(rLibrary.ExpectedCores()) +
                                           " processor cores could be read, and all share the clock; nothing was done");
    CTuneRecords Records(rLibrary);
    const bool bDryRun = rTool.Options().bDryRun;
    if (Records.HasPlace() && !bDryRun && Records.IsBusyElsewhere())
        throw CFailure(EExit::kFailed, "another vxtctl searches at this moment; nothing was done");
    if (!Records.HasPlace() && Records.NeedsPlace())
        throw CFailure(EExit::kFailed,
                       "there is no folder for the record of the search, which this PC may not survive; nothing was "
                       "done");
    const std::optional<CClockState> oNow = Machine.Read();
    if (!oNow)
        throw CFailure(EExit::kFailed,
                       "what is in force now could not be read, so it could not be put back; nothing was done");
    CTuneRecord Record = g_NewRecord(rWanted, Records, *oNow);
    CTemperatureWatch Watch(rLibrary, rWanted.oLimit);
    if (const std::string sHot = Watch.Hot(); !sHot.empty())
        throw CFailure(EExit::kFailed, sHot + " already; nothing was done");
    const CTunePlan Plan{*oNow, Watch.IsEmpty() ? "" : Watch.Text(), Records.HasPlace() ? Records.FileName() : "",
                         rWanted.bResume ? Record.sBegun : "", rWanted.bPutBack};
    CDocument Document = rTool.NewDocument();
    CFindings Findings;
    Document["dry_run"] = bDryRun;
    Document["plan"] = g_ToJson(Plan, Machine);
    CTuneResult Result{ETuneView::kPlanned, nullptr, std::nullopt, oNow};
    if (bDryRun) {
        Document.AddTable(g_PlanTable(Plan, Machine));
        g_AddTune(Document, Result);
        return rLibrary.Emit(rTool, Document, std::move(Findings));
    }
    g_Ask(rTool, rLibrary, Plan, Machine, bYes);

    CTuneSearch Search(rTool, rLibrary, Records, Record, Watch);
    const std::optional<CTunePoint> oDeadly = rWanted.bRetry ? std::nullopt : Record.Deadly();
    if (oDeadly) Search.Forbid(*oDeadly);
    Search.Forget();  // where it begins is set here
    Records.SetLast(Record);
    const bool bIsThere = Record.Points.empty() && Record.Before == *oNow;
    Search.Run(bIsThere ? "" : g_GoThere(Machine, Record));

    Result.eView = ETuneView::kSearched;
    Result.bIsKept = Records.HasPlace();
    Result.pRecord = &Record;
    Result.onLast = Search.LastStatus();
    g_Settle(rWanted, Machine, Record, Result, Findings);
    const bool bKept = g_Keep(Records, Record), bDrawn = g_Draw(rTool, rWanted, Result);
    g_AddTune(Document, Result);
    if (!Record.IsOver() || Result.oPutBack == false) g_PrintRemark(g_TuneMessage(Result));
    const EExit eFindings = rLibrary.Emit(rTool, Document, std::move(Findings)), eExit = g_Exit(Result);
    return rLibrary.Finish(eExit != EExit::kDone ? eExit : bKept && bDrawn ? eFindings : EExit::kFailed);
}

EExit g_Tune(CTool& rTool, const CWanted& rWanted) {
    g_CheckRequest(rTool, rWanted);
    const CHostLibrary Library(rTool.Options());
    return rWanted.bStatus ? g_Status(rTool, rWanted, Library)
                           : g_Search(rTool, rWanted, Library, rTool.Options().bYes);
}

/// What Windows starts behind a death: nobody is there to answer, and nothing to go on with is no failure.
EExit g_AutoTune(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    if (const auto oLast = CTuneRecords(Library).Last(); !oLast || oLast->IsOver()) {
        rTool.Output().Note("there is nothing to resume");
        return g_Status(rTool, {}, Library);
    }
    return g_Search(rTool, {.bResume = true}, Library, true);
}

}  // namespace

extern constexpr CCommand kTune{"tune", "Find the highest reference clock at which the stability test finds no error",
                                "  vxtctl tune --dry-run\n"
                                "  vxtctl tune --chart tune.svg    hours, on a PC that may die: save your work\n"
                                "  vxtctl tune --limit 65 --put-back --yes\n"
                                "  vxtctl tune --status --csv",
                                g_NewCall<CWanted, kOptions, g_Tune>};
extern constexpr CCommand kAutoTune{"AutoTune",
                                    "What Windows starts after a search that this PC died of: tune --resume --yes",
                                    "  vxtctl AutoTune", g_NewCall<g_AutoTune>};

}  // namespace vxtctl
