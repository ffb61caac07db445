#include "common/change_plan.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <set>
#include <thread>

#include "common/console.h"
#include "common/text.h"

namespace vxttools {
namespace {

constexpr const char* kOutcomeNames[] = {"planned", "taken", "not_taken", "failed", "skipped"};
constexpr const char* kOutcomeTexts[] = {"planned", "taken", "NOT TAKEN", "FAILED", "skipped"};

std::string g_Value(const CChange& rChange, const std::optional<double>& rValue) {
    if (!rValue) return "-";
    const std::string sMeaning = rChange.Meaning ? rChange.Meaning(*rValue) : "";
    return g_FormatValue(*rValue, rChange.sUnit) + (sMeaning.empty() ? "" : " (" + sMeaning + ")");
}

std::string g_WithUnit(const CChange& rChange, const std::optional<double>& rValue) {
    return g_Value(rChange, rValue) + (rValue && !rChange.sUnit.empty() ? " " + rChange.sUnit : "");
}

}  // namespace

void CChangePlan::_Apply(const CChange& rChange, CResult& rResult) {
    const auto IsWanted = [&](const std::optional<double>& rValue) {
        return rValue && std::abs(*rValue - rChange.dWanted) <= rChange.dTolerance;
    };
    const bool bAccepted = rChange.Write();
    // Some processors report the end of a transition, others only begin it: give every one of them time.
    constexpr int kReadBacks = 200;
    const auto End = std::chrono::steady_clock::now() + std::chrono::seconds(2);  // a firmware may take its time
    rResult.oAfter = rChange.Read();
    for (int i = 1; i < kReadBacks && !IsWanted(rResult.oAfter) && !g_WasInterrupted(); ++i) {
        if (std::chrono::steady_clock::now() > End) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        rResult.oAfter = rChange.Read();
    }
    const std::string sAsked = g_WithUnit(rChange, rChange.dWanted);
    const std::string sAfter = g_WithUnit(rChange, rResult.oAfter);
    const bool bUnchanged =
        rResult.oAfter && rResult.oBefore && std::abs(*rResult.oAfter - *rResult.oBefore) <= rChange.dTolerance;
    if (!rResult.oAfter) {
        rResult.eOutcome = EOutcome::kFailed;
        rResult.sReason = "no reading afterwards, so nobody knows what the hardware took";
    } else if (IsWanted(rResult.oAfter)) {
        rResult.eOutcome = bAccepted ? EOutcome::kTaken : EOutcome::kFailed;
        if (!bAccepted)
            rResult.sReason = "the library reports a failure, but the hardware shows " + sAfter + "; --log tells more";
    } else {
        rResult.eOutcome = EOutcome::kNotTaken;
        rResult.sReason =
            !bAccepted ? "the library refused " + sAsked + " or could not complete it; the hardware shows " + sAfter
                       : sAsked + " " + rChange.sDoubt + ": " + (bUnchanged ? "still " : "the hardware took ") + sAfter;
    }
}

std::string CChangePlan::_PlanText(const std::vector<CResult>& rResults) const {
    CDocument Plan("", "");
    CTextTable& rTable = Plan.AddTable({"Planned changes", {"", "Setting", ">Now", ">Wanted", "Unit", "Legal values"}});
    for (size_t i = 0; i < m_Changes.size(); ++i) {
        const CChange& rChange = m_Changes[i];
        rTable.Rows.push_back({rChange.sOwner, rChange.sLabel, g_Value(rChange, rResults[i].oBefore),
                               g_Value(rChange, rChange.dWanted), rChange.sUnit, rChange.sLegal});
    }
    return Plan.Text(false);
}

void CChangePlan::_Report(CDocument& rDocument, const std::vector<CResult>& rResults, bool bDryRun) const {
    rDocument["dry_run"] = bDryRun;
    CJson& rChanges = rDocument["changes"] = CJson::Array();
    rDocument.SetCsv("changes");
    CTextTable Table{bDryRun ? "Planned changes (dry run: nothing was written)" : "Changes",
                     {"", "Setting", ">Before", ">Asked", ">Now", "Unit", "Legal values", "Result"}};
    std::string sReasons;
    for (size_t i = 0; i < m_Changes.size(); ++i) {
        const CChange& rChange = m_Changes[i];
        const auto& [oBefore, oAfter, eOutcome, sReason] = rResults[i];
        const size_t uOutcome = static_cast<size_t>(eOutcome);
        rChanges.Push({{"id", rChange.sId},
                       {"label", rChange.sLabel},
                       {"before", g_ToJson(oBefore)},
                       {"asked", g_ToJson(std::optional(rChange.dWanted))},
                       {"after", g_ToJson(oAfter)},
                       {"unit", rChange.sUnit},
                       {"limits", g_ToJson(rChange.Limits)},
                       {"legal", rChange.sLegal},
                       {"outcome", kOutcomeNames[uOutcome]},
                       {"reason", sReason.empty() ? nullptr : CJson(sReason)}});
        Table.Rows.push_back({rChange.sOwner, rChange.sLabel, g_Value(rChange, oBefore),
                              g_Value(rChange, rChange.dWanted), g_Value(rChange, oAfter), rChange.sUnit,
                              rChange.sLegal, kOutcomeTexts[uOutcome]});
    }
    rDocument.AddTable(std::move(Table));
}

EExit CChangePlan::Run(CTool& rTool) {
    CDocument Document = rTool.NewDocument();
    const EExit eExit = _Run(Document, rTool);
    return rTool.Emit(Document, eExit);
}

EExit CChangePlan::_Run(CDocument& rDocument, const CTool& rTool) {
    const CGlobalOptions& rOptions = rTool.Options();
    std::vector<CResult> Results(m_Changes.size());
    for (size_t i = 0; i < m_Changes.size(); ++i) Results[i].oBefore = m_Changes[i].Read();

    if (!rOptions.bDryRun) {
        const std::string sPlan = _PlanText(Results);
        if (rOptions.bYes) {
            rTool.Output().Note(sPlan);
        } else {
            if (!g_IsStdinTerminal())
                throw CFailure(EExit::kUsage,
                               "no terminal to ask on: --yes writes without asking, --dry-run shows the plan");
            std::fputs((sPlan + "\n").c_str(), stderr);
            if (!g_AskYes("Write this to the hardware?"))
                throw CFailure(g_WasInterrupted() ? EExit::kInterrupted : EExit::kFailed, "nothing was written");
        }
    }

    std::set<std::string> Stopped;  // owners whose earlier change went wrong: theirs may depend on it
    EExit eExit = EExit::kDone;
    for (size_t i = 0; i < m_Changes.size() && !rOptions.bDryRun; ++i) {
        const CChange& rChange = m_Changes[i];
        CResult& rResult = Results[i];
        if (g_WasInterrupted() || Stopped.contains(rChange.sOwner)) {
            rResult.eOutcome = EOutcome::kSkipped;
            rResult.sReason =
                g_WasInterrupted() ? "interrupted" : "an earlier change to " + rChange.sOwner + " went wrong";
            continue;
        }
        _Apply(rChange, rResult);
        if (rResult.eOutcome == EOutcome::kTaken) continue;
        Stopped.insert(rChange.sOwner);
        std::fputs((rChange.sOwner + ": " + rChange.sLabel + ": " + rResult.sReason + "\n").c_str(), stderr);
        if (rResult.eOutcome == EOutcome::kFailed)
            eExit = EExit::kFailed;
        else if (eExit == EExit::kDone)
            eExit = EExit::kNotTaken;
    }
    _Report(rDocument, Results, rOptions.bDryRun);
    return g_WasInterrupted() ? EExit::kInterrupted : eExit;
}

}  // namespace vxttools
