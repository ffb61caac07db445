#include "common/change_plan.h"

#include <chrono>
#include <cmath>
#include <thread>

#include "common/console.h"
#include "common/text.h"

namespace vxttools {
namespace {

constexpr const char* kOutcomeNames[] = {"planned", "taken", "not_taken", "failed", "skipped", "undone"};
constexpr const char* kOutcomeTexts[] = {"planned", "taken", "NOT TAKEN", "FAILED", "skipped", "undone"};

std::string g_Value(const CChange& rChange, const std::optional<double>& rValue) {
    if (!rValue) return "-";
    if (rChange.Text) return rChange.Text(*rValue);
    const std::string sMeaning = rChange.Meaning ? rChange.Meaning(*rValue) : "";
    return g_FormatValue(*rValue, rChange.sUnit) + (sMeaning.empty() ? "" : " (" + sMeaning + ")");
}

std::string g_WithUnit(const CChange& rChange, const std::optional<double>& rValue) {
    return g_Value(rChange, rValue) + (rValue && !rChange.sUnit.empty() ? " " + rChange.sUnit : "");
}

bool g_Is(const CChange& rChange, const std::optional<double>& rReading, double dValue) {
    return g_ReadsAs(rReading, dValue, rChange.dTolerance);
}

std::optional<double> g_Read(const CChange& rChange) { return rChange.Read ? rChange.Read() : std::nullopt; }

std::optional<double> g_ReadBack(const CChange& rChange, double dExpected) {
    return g_ReadUntil(rChange.Read, dExpected, rChange.dTolerance);
}

}  // namespace

bool g_ReadsAs(const std::optional<double>& roReading, double dValue, double dTolerance) {
    return roReading && std::abs(*roReading - dValue) <= dTolerance;
}

std::optional<double> g_ReadUntil(const std::function<std::optional<double>()>& Read, double dExpected,
                                  double dTolerance) {
    constexpr int kReadings = 200;
    const auto End = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    std::optional<double> oNow = Read();
    for (int i = 1; i < kReadings && !g_ReadsAs(oNow, dExpected, dTolerance); ++i) {
        if (std::chrono::steady_clock::now() > End) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        oNow = Read();
    }
    return oNow;
}

void CChangePlan::_Judge(const CChange& rChange, CResult& rResult, bool bAccepted) {
    if (!rChange.Read) {
        rResult.eOutcome = bAccepted ? EOutcome::kTaken : EOutcome::kFailed;
        if (!bAccepted) rResult.sReason = "the library reports a failure: " + rChange.sDoubt;
        return;
    }
    rResult.oAfter = g_ReadBack(rChange, rChange.dWanted);
    const std::string sAsked = g_WithUnit(rChange, rChange.dWanted);
    const std::string sAfter = g_WithUnit(rChange, rResult.oAfter);
    const bool bUnchanged = rResult.oBefore && g_Is(rChange, rResult.oAfter, *rResult.oBefore);
    if (!rResult.oAfter) {
        rResult.eOutcome = EOutcome::kFailed;
        rResult.sReason = "no reading afterwards, so nobody knows what the hardware took";
    } else if (g_Is(rChange, rResult.oAfter, rChange.dWanted)) {
        rResult.eOutcome = bAccepted ? EOutcome::kTaken : EOutcome::kFailed;
        if (!bAccepted)
            rResult.sReason = "the library reports a failure, but the hardware shows " + sAfter + "; --log tells more";
        else if (rChange.Verify)
            rResult.sReason = rChange.Verify();
        if (bAccepted && !rResult.sReason.empty()) rResult.eOutcome = EOutcome::kNotTaken;
    } else {
        rResult.eOutcome = EOutcome::kNotTaken;
        rResult.sReason =
            !bAccepted ? "the library could not complete " + sAsked + "; the hardware shows " + sAfter
                       : sAsked + " " + rChange.sDoubt + ": " + (bUnchanged ? "still " : "the hardware took ") + sAfter;
    }
}

void CChangePlan::_Undo(const CChange& rChange, CResult& rResult, const std::string& sWhy) {
    const bool bUnchanged = rResult.oBefore && g_Is(rChange, rResult.oAfter, *rResult.oBefore);
    if (!rChange.PutBack && (!rResult.oBefore || bUnchanged)) return;
    const bool bWasTaken = rResult.eOutcome == EOutcome::kTaken;
    if (bWasTaken) rResult.sReason = sWhy;
    if (!rChange.Restore && !rChange.PutBack) {
        rResult.sReason += "; there is no way to put it back";
        return;
    }
    bool bIsBack = false;
    if (rChange.PutBack) {
        bIsBack = rChange.PutBack();
        rResult.oAfter = g_Read(rChange);
    } else {
        rChange.Restore(*rResult.oBefore);
        rResult.oAfter = g_ReadBack(rChange, *rResult.oBefore);
        bIsBack = g_Is(rChange, rResult.oAfter, *rResult.oBefore);
    }
    const std::string sBefore = rResult.oBefore ? g_WithUnit(rChange, rResult.oBefore) : "what it was";
    if (!bIsBack)
        rResult.sReason += "; it could not be put back, the hardware shows " + g_WithUnit(rChange, rResult.oAfter);
    else if (!bUnchanged)
        rResult.sReason += "; put back to " + sBefore;
    if (!bIsBack)
        rResult.eOutcome = EOutcome::kFailed;
    else if (bWasTaken)
        rResult.eOutcome = EOutcome::kUndone;
}

size_t CChangePlan::_EndOfOwner(size_t uFirst) const {
    size_t uEnd = uFirst;
    while (uEnd < m_Changes.size() && m_Changes[uEnd].sOwner == m_Changes[uFirst].sOwner) ++uEnd;
    return uEnd;
}

EExit CChangePlan::_ApplyOwner(size_t uFirst, size_t uEnd) {
    size_t uFailed = uFirst;
    while (uFailed < uEnd) {
        _Judge(m_Changes[uFailed], m_Results[uFailed], m_Changes[uFailed].Write());
        if (m_Results[uFailed].eOutcome != EOutcome::kTaken) break;
        ++uFailed;
    }
    if (uFailed == uEnd) return EExit::kDone;
    for (size_t i = uFailed + 1; i < uEnd; ++i) {
        m_Results[i].eOutcome = EOutcome::kSkipped;
        m_Results[i].sReason = "an earlier change to " + m_Changes[i].sOwner + " went wrong";
    }
    const bool bBack = _UndoAll(uFirst, uFailed + 1, "another change to " + m_Changes[uFirst].sOwner + " went wrong");
    for (size_t i = uFailed + 1; i-- > uFirst;) _TellReason(i);
    return bBack ? EExit::kNotTaken : EExit::kFailed;
}

void CChangePlan::_TellReason(size_t uChange) const {
    const CChange& rChange = m_Changes[uChange];
    const std::string& rsReason = m_Results[uChange].sReason;
    if (!rsReason.empty()) g_PrintRemark(rChange.sOwner + ": " + rChange.sLabel + ": " + rsReason);
}

bool CChangePlan::_UndoAll(size_t uFirst, size_t uEnd, const std::string& sWhy) {
    bool bAll = true;
    for (size_t i = uEnd; i-- > uFirst;) {
        _Undo(m_Changes[i], m_Results[i], sWhy);
        bAll = bAll && m_Results[i].eOutcome != EOutcome::kFailed;
    }
    return bAll;
}

EExit CChangePlan::_ApplyJointly(const CJointWrite& rWrite) {
    if (rWrite.Begin) rWrite.Begin();
    const std::string sLeft = rWrite.Write();
    if (!sLeft.empty()) g_PrintRemark(sLeft);
    bool bAllTaken = true;
    for (size_t i = 0; i < m_Changes.size(); ++i) {
        CResult& rResult = m_Results[i];
        _Judge(m_Changes[i], rResult, true);
        const bool bUntouched = rResult.oBefore && g_Is(m_Changes[i], rResult.oAfter, *rResult.oBefore);
        if (!sLeft.empty() && rResult.eOutcome == EOutcome::kNotTaken && bUntouched)
            rResult.eOutcome = EOutcome::kSkipped, rResult.sReason = sLeft;
        else
            _TellReason(i);
        bAllTaken = bAllTaken && rResult.eOutcome == EOutcome::kTaken;
    }
    std::string sWhy = !bAllTaken ? "another change went wrong" : rWrite.Verify ? rWrite.Verify() : "";
    if (bAllTaken && !sWhy.empty()) g_PrintRemark(sWhy);
    const EExit eExit = sWhy.empty() ? EExit::kInterrupted : EExit::kNotTaken;
    if (g_WasInterrupted())
        sWhy = "interrupted";
    else if (sWhy.empty() && rWrite.Confirm)
        sWhy = rWrite.Confirm();
    if (sWhy.empty()) return EExit::kDone;
    if (!rWrite.WantsUndone || !rWrite.WantsUndone()) return eExit;
    if (_UndoAll(0, m_Changes.size(), sWhy)) return eExit;
    for (size_t i = 0; i < m_Changes.size(); ++i)
        if (m_Results[i].eOutcome == EOutcome::kFailed) _TellReason(i);
    return EExit::kFailed;
}

std::string CChangePlan::_LegalText(size_t uChange) const {
    const CChange& rChange = m_Changes[uChange];
    for (size_t i = 0; i < uChange; ++i)
        if (m_Changes[i].sLabel == rChange.sLabel && m_Changes[i].sLegal == rChange.sLegal) return "as above";
    return rChange.sLegal;
}

std::string CChangePlan::_PlanText() const {
    CDocument Plan("", "");
    CTextTable& rTable =
        Plan.AddTable({"Planned changes", {"", "Setting", ">Now", ">Wanted", "Unit", "Legal values, [now]"}});
    std::string sNotes;
    for (size_t i = 0; i < m_Changes.size(); ++i) {
        const CChange& rChange = m_Changes[i];
        rTable.Rows.push_back({rChange.sOwner, rChange.sLabel, g_Value(rChange, m_Results[i].oBefore),
                               g_Value(rChange, rChange.dWanted), rChange.sUnit, _LegalText(i)});
        if (!rChange.sNote.empty()) sNotes += rChange.sOwner + ": " + rChange.sLabel + ": " + rChange.sNote + "\n";
    }
    return Plan.Text(false, g_StderrColumns().value_or(kUnlimited)) + sNotes;
}

void CChangePlan::_Report(CDocument& rDocument, bool bDryRun) const {
    rDocument["dry_run"] = bDryRun;
    CJson& rChanges = rDocument["changes"] = CJson::Array();
    rDocument.SetCsv("changes");
    CTextTable Table{bDryRun ? "Planned changes (dry run: nothing was written)" : "Changes",
                     {"", "Setting", ">Before", ">Asked", ">Now", "Unit", "Result"}};
    if (bDryRun) Table.Columns.push_back("~Legal values, [now]");
    const auto TextOrNull = [](const std::string& rsText) { return rsText.empty() ? nullptr : CJson(rsText); };
    for (size_t i = 0; i < m_Changes.size(); ++i) {
        const CChange& rChange = m_Changes[i];
        const auto& [oBefore, oAfter, eOutcome, sReason] = m_Results[i];
        const size_t uOutcome = static_cast<size_t>(eOutcome);
        rChanges.Push({{"id", rChange.sId},
                       {"label", rChange.sLabel},
                       {"before", g_ToJson(oBefore)},
                       {"asked", g_ToJson(std::optional(rChange.dWanted))},
                       {"after", g_ToJson(oAfter)},
                       {"unit", rChange.sUnit},
                       {"limits", g_ToJson(rChange.Limits)},
                       {"legal", rChange.Legal.empty() ? nullptr : CJson(rChange.Legal)},
                       {"outcome", kOutcomeNames[uOutcome]},
                       {"reason", TextOrNull(sReason)},
                       {"note", TextOrNull(rChange.sNote)}});
        const bool bNoteCounts = eOutcome == EOutcome::kPlanned || eOutcome == EOutcome::kTaken;
        const std::string sNote = bNoteCounts && !rChange.sNote.empty() ? ", " + rChange.sNote : "";
        Table.Rows.push_back({rChange.sOwner, rChange.sLabel, g_Value(rChange, oBefore),
                              g_Value(rChange, rChange.dWanted), g_Value(rChange, oAfter), rChange.sUnit,
                              kOutcomeTexts[uOutcome] + sNote});
        if (bDryRun) Table.Rows.back().push_back(_LegalText(i));
    }
    rDocument.AddTable(std::move(Table));
}

EExit CChangePlan::_Run(CTool& rTool, const CThen& rThen, const CJointWrite* pJoint) {
    CDocument Document = rTool.NewDocument();
    const bool bDryRun = rTool.Options().bDryRun;
    m_Results.assign(m_Changes.size(), {});
    for (size_t i = 0; i < m_Changes.size(); ++i) m_Results[i].oBefore = g_Read(m_Changes[i]);
    EExit eExit = EExit::kDone;
    if (!bDryRun) {
        _Ask(rTool);
        eExit = pJoint ? _ApplyJointly(*pJoint) : _ApplyOwners();
    }
    _Report(Document, bDryRun);
    if (rThen) eExit = rThen(Document, eExit);
    try {
        return rTool.Emit(Document, eExit);
    } catch (const CFailure&) {
        // A full disk must not hide what was done to the hardware.
        std::fputs(Document.Text(false).c_str(), stderr);
        throw;
    }
}

void CChangePlan::_Ask(const CTool& rTool) const {
    const std::string sPlan = _PlanText();
    if (rTool.Options().bYes) return rTool.Output().Note(sPlan);
    if (!g_IsStdinTerminal())
        throw CFailure(EExit::kUsage, "no terminal to ask on: --yes writes without asking, --dry-run shows the plan");
    g_PrintRemark(sPlan);
    if (!g_AskYes("Write this to the hardware?"))
        throw CFailure(g_WasInterrupted() ? EExit::kInterrupted : EExit::kFailed, "nothing was written");
}

/// On stderr, where it is seen with --output and in scripts, too.
void CChangePlan::_TellInterruption() const {
    struct {
        const char* pszTitle;
        std::string sOwners = {};
    } aLists[] = {{"written"}, {"went wrong"}, {"not written"}};
    for (size_t i = 0, uEnd = 0; i < m_Changes.size(); i = uEnd) {
        uEnd = _EndOfOwner(i);
        const EOutcome eLast =
            m_Results[uEnd - 1].eOutcome;  // of changes that went wrong it is not the first that shows
        const bool bSkipped = m_Results[i].eOutcome == EOutcome::kSkipped;
        std::string& rsOwners = aLists[bSkipped ? 2 : eLast == EOutcome::kTaken ? 0 : 1].sOwners;
        rsOwners += (rsOwners.empty() ? "" : ", ") + m_Changes[i].sOwner;
    }
    std::string sText = "interrupted";
    for (const auto& [pszTitle, sOwners] : aLists)
        if (!sOwners.empty()) sText += std::string("; ") + pszTitle + ": " + sOwners;
    g_PrintRemark(sText);
}

EExit CChangePlan::_ApplyOwners() {
    EExit eExit = EExit::kDone;
    bool bSkipped = false;
    for (size_t i = 0, uEnd = 0; i < m_Changes.size(); i = uEnd) {
        uEnd = _EndOfOwner(i);
        if (g_WasInterrupted()) {
            for (size_t j = i; j < uEnd; ++j)
                m_Results[j].eOutcome = EOutcome::kSkipped, m_Results[j].sReason = "interrupted";
            bSkipped = true;
            continue;
        }
        const EExit eOwner = _ApplyOwner(i, uEnd);
        if (eExit == EExit::kDone || eOwner == EExit::kFailed) eExit = eOwner;
    }
    if (bSkipped) _TellInterruption();
    return bSkipped ? EExit::kInterrupted : eExit;
}

}  // namespace vxttools
