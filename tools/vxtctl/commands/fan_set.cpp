// vxtctl fan set: another duty, for good or for a while.
#include <algorithm>
#include <cmath>

#include "candidates.h"
#include "common/console.h"
#include "common/text.h"
#include "fan_hold.h"
#include "setting.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted : CWantedSettings {
    std::optional<uint32_t> oSeconds;
    std::optional<double> oLimit;
};
constexpr COption<CWanted> kOptions[] = {
    {"FAN=PERCENT", "", "Fans by the names of the list, or by their ends: 'fan/1'", &CWanted::Words, true, nullptr,
     g_FanCandidates},
    {"--for", "SECONDS", "Hold it for so long (1 to 86400), then put back what was in force", &CWanted::oSeconds},
    {"--limit", "CELSIUS", "With --for: full duty when a temperature rises above it; 70 where the chip tells no limit",
     &CWanted::oLimit},
    {"--force", "", "Also duties at which a fan may stand still", &CWanted::bForce},
};

struct CWantedDuty {
    CFan* pFan;
    uint32_t uPercent;
};

/// Ends the command when the request makes no sense on any machine.
void g_CheckRequest(const CWanted& rWanted, const std::vector<CAssignment>& rAssignments) {
    if (rWanted.oSeconds) g_CheckRunTime("--for", *rWanted.oSeconds);
    if (rWanted.oLimit && !rWanted.oSeconds)
        throw CFailure(EExit::kUsage, "--limit: temperatures are watched with --for only");
    for (const auto& [sName, dPercent, bIsWord] : rAssignments)
        if (bIsWord || dPercent < 0 || dPercent > kFullDuty || dPercent != std::floor(dPercent))
            throw CFailure(EExit::kUsage, sName + ": a duty is a whole number from 0 to 100, in percent");
}

/// Ends the command when there is no such fan, it cannot be set, or it may stand still and `bForce` is off.
std::vector<CWantedDuty> g_SelectFans(const CHostLibrary& rLibrary, std::vector<CFan>& rFans,
                                      const std::vector<CAssignment>& rAssignments, bool bForce) {
    std::vector<CWantedDuty> Selected;
    for (const CAssignment& rAssignment : rAssignments) {
        CFan& rFan = g_FindFan(rLibrary, rFans, rAssignment.sKey);
        if (std::ranges::count(Selected, &rFan, &CWantedDuty::pFan))
            throw CFailure(EExit::kUsage, "'" + rFan.Name() + "' is named twice");
        if (!rFan.IsControlled())
            throw CFailure(EExit::kNoSuchDevice, rFan.Name() + ": this chip's fans cannot be set");
        if (rAssignment.dValue < kStartDuty && !bForce)
            throw CFailure(EExit::kUsage,
                           rFan.Name() + "=" + g_Trimmed(rAssignment.dValue, 0) + ": below " +
                               std::to_string(kStartDuty) +
                               " % a fan may stand still: one of four wires has "
                               "to start there at the latest; nothing was written, --force tries all the same");
        Selected.push_back({&rFan, static_cast<uint32_t>(rAssignment.dValue)});
    }
    // In the order of the list: a south bridge takes a fan's manual control away when one before it gets its own.
    std::ranges::sort(Selected, {}, &CWantedDuty::pFan);
    return Selected;
}

/// Ends the command when another process holds the fan, or one that held it was killed and this is to hold it, too.
void g_CheckHolds(const CTool& rTool, const std::vector<CWantedDuty>& rSelected, CHoldRecords& rRecords, bool bHold) {
    if (rTool.Options().bDryRun) return;
    for (const auto& [pFan, uPercent] : rSelected) {
        if (!rRecords.Find(pFan->Id())) continue;
        if (rRecords.IsBusyElsewhere())
            throw CFailure(EExit::kFailed,
                           pFan->Name() + ": another vxtctl holds it at this moment; nothing was written");
        if (bHold) throw CFailure(EExit::kFailed, rRecords.LeftBehind(pFan->Id()) + "; nothing was written");
        rTool.Output().Note(rRecords.LeftBehind(pFan->Id()) + ", until this duty takes its place");
    }
    if (bHold && rRecords.IsBusyElsewhere())
        throw CFailure(EExit::kFailed,
                       "another vxtctl holds fans at this moment, one can at a time; nothing was written");
}

/// What has to be known before the user says yes.
std::string g_NoteOf(const CFan& rFan, uint32_t uPercent, const CWanted& rWanted, const CTemperatureWatch& rWatch) {
    std::string sNote;
    const auto Add = [&sNote](const std::string& sText) { sNote += (sNote.empty() ? "" : "; ") + sText; };
    if (rFan.Mode() == EFanMode::kAutomatic && !rWanted.oSeconds)
        Add("it ends the chip's own control, which only --for puts back");
    if (uPercent < kStartDuty) Add("below " + std::to_string(kStartDuty) + " % it may stand still, forced");
    if (rWanted.oSeconds) {
        Add("for " + std::to_string(*rWanted.oSeconds) + " s at most, 'hold' tells how it ended");
        if (rWatch.IsEmpty()) Add("there is no temperature that could be watched");
    }
    return sNote;
}

CChange g_NewChange(CFan& rFan, uint32_t uPercent, CFanHold& rHold) {
    return {
        .sId = rFan.Id() + "/duty",
        .sOwner = rFan.Name(),
        .sLabel = "Duty",
        .sUnit = "%",
        .dWanted = static_cast<double>(uPercent),
        .dTolerance = 1,  // chips keep 7 or 8 bits, rounded down
        .sLegal = std::to_string(kStartDuty) + " to " + std::to_string(kFullDuty) + ", step 1",
        .Limits = {kStartDuty, kFullDuty},
        .Read = [&rFan] { return rFan.Duty(); },
        .Write = [&rFan, &rHold, uPercent] { return rHold.SetDuty(rFan, uPercent); },
        .Verify = [&rFan, &rHold] { return rHold.WhyItCannotStay(rFan); },
        .PutBack = [&rFan, &rHold] { return rHold.PutBack(rFan); },
        .sDoubt = "was not taken over by the chip",
    };
}

/// A duty that was set for good takes the place of what a hold left behind.
void g_Retire(const std::vector<CWantedDuty>& rSelected, CHoldRecords& rRecords) {
    std::vector<std::string> Set(rSelected.size());
    std::ranges::transform(rSelected, Set.begin(), [](const CWantedDuty& r) { return r.pFan->Id(); });
    rRecords.Remove(Set);
}

/// What follows the changes.
EExit g_Finish(CDocument& rDocument, EExit eExit, const CTool& rTool, const CWanted& rWanted, CFanHold& rHold,
               CTemperatureWatch& rWatch) {
    const bool bDryRun = rTool.Options().bDryRun;
    std::optional<CTimedRun> oRun;
    if (rWanted.oSeconds) oRun = CTimedRun{*rWanted.oSeconds};
    if (oRun && bDryRun) oRun->eEnd = ERunEnd::kPlanned;
    if (oRun && !bDryRun && eExit == EExit::kDone) {
        rHold.Hold(*oRun, rTool, rWatch);
        if (!oRun->sReason.empty()) g_PrintRemark(oRun->sReason);
        eExit = g_RunExit(*oRun);
    } else if (oRun && !bDryRun) {
        oRun->oPutBack = rHold.PutAllBack();
        oRun->sReason = "a fan did not take its duty";
    } else {
        rHold.Keep();
    }
    g_AddRun(rDocument, oRun);
    return g_WasInterrupted() && eExit != EExit::kFailed ? EExit::kInterrupted : eExit;
}

EExit g_FanSet(CTool& rTool, const CWanted& rWanted) {
    const std::vector<CAssignment> Assignments = g_ParseAssignments(rWanted.Words);
    g_CheckRequest(rWanted, Assignments);
    const CHostLibrary Library(rTool.Options());
    std::vector<CFan> Fans = g_FindFans(Library);
    if (Fans.empty()) throw Library.Absent("fan");
    const std::vector<CWantedDuty> Selected = g_SelectFans(Library, Fans, Assignments, rWanted.bForce);
    CHoldRecords Records(Library);
    g_CheckHolds(rTool, Selected, Records, rWanted.oSeconds.has_value());
    if (rWanted.oSeconds && !Records.HasPlace() && Records.NeedsPlace())
        rTool.Output().Note(
            "there is no folder to remember what is in force now: killed by force, this leaves the fans as they are");
    CTemperatureWatch Watch(Library, rWanted.oLimit);
    const std::string sHot = rWanted.oSeconds ? Watch.Hot() : "";
    const auto IsFull = [](const CWantedDuty& r) { return r.uPercent == kFullDuty; };
    if (!sHot.empty() && !std::ranges::all_of(Selected, IsFull))
        throw CFailure(EExit::kFailed, sHot + " already; nothing was written");
    if (rWanted.oSeconds && !Watch.IsEmpty()) rTool.Output().Note("watched meanwhile: " + Watch.Text());
    CFanHold Hold(Library, Records, rWanted.oSeconds.has_value());
    CChangePlan Plan;
    for (const auto& [pFan, uPercent] : Selected) {
        Hold.Add(*pFan);
        CChange& rChange = Plan.Add(g_NewChange(*pFan, uPercent, Hold));
        rChange.sNote = g_NoteOf(*pFan, uPercent, rWanted, Watch);
    }
    return Library.Finish(Plan.Run(rTool, [&](CDocument& rDocument, EExit eExit) {
        const EExit eFinished = g_Finish(rDocument, eExit, rTool, rWanted, Hold, Watch);
        if (!rWanted.oSeconds && !rTool.Options().bDryRun && eExit == EExit::kDone) g_Retire(Selected, Records);
        return eFinished;
    }));
}

}  // namespace

extern constexpr CCommand kFanSet{"fan set", "Change the duty of fans, in percent, for good or for a while",
                                  "  vxtctl fan set environment/0/fan/0=60 --yes\n"
                                  "  vxtctl fan set environment/0/fan/0=100 --for 600 --dry-run  for ten minutes",
                                  g_NewCall<CWanted, kOptions, g_FanSet>};

}  // namespace vxtctl
