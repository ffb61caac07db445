// vxtctl profile apply: a profile's settings, written as one.
#include "common/console.h"
#include "common/guarded_process.h"
#include "profile_application.h"
#include "profile_confirmation.h"
#include "profile_report.h"
#include "timed_run.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oFile;
    std::optional<uint32_t> oSeconds;
    bool bForce = false;
};
constexpr COption<CWanted> kOptions[] = {
    {"FILE", "", "Profile to apply", &CWanted::oFile, true},
    {"--confirm", "SECONDS", "Put everything back unless 'keep' is typed within so long (1 to 86400)",
     &CWanted::oSeconds},
    {"--force", "", "Also try values outside the list or the limits", &CWanted::bForce},
};

constexpr const char* kKilled =
    "the process that applied the profile was killed; 'vxtctl profile rollback' brings back what was in force before";

/// Entries that change nothing whatever their value.
void g_AddIgnored(CDocument& rDocument, const std::vector<CJudgedEntry>& rEntries) {
    CJson& rIgnored = rDocument["ignored"] = CJson::Array();
    CTextTable Table{"Not applied", {"Entry", ">Value", "Reason"}};
    for (const CJudgedEntry& rEntry : rEntries) {
        const bool bUnread = rEntry.pSetting && !rEntry.pSetting->Setting.oValue;
        if (rEntry.eFate == EEntry::kApplied && !bUnread) continue;
        const std::string sReason =
            bUnread ? "nobody could put it back: " + rEntry.pSetting->Setting.sReason : rEntry.sProblem;
        CJson Row{{"text", rEntry.Entry.sText}, {"reason", sReason}};
        g_AddNames(Row, rEntry.Entry);
        rIgnored.Push(std::move(Row));
        Table.Rows.push_back({rEntry.Place(), rEntry.Entry.sText, sReason});
    }
    if (!Table.Rows.empty()) rDocument.AddTable(std::move(Table));
}

/// What of the machine could not be read, so that the profile may not be in force as a whole. Returns how the command ends.
EExit g_AddFindings(CDocument& rDocument, const CTool& rTool, const CFindings& rFindings, EExit eExit) {
    rDocument["findings"] = rFindings;
    for (const std::string& rsFinding : rFindings) rTool.Output().Note(rsFinding);
    return eExit == EExit::kDone && !rFindings.empty() ? EExit::kFindings : eExit;
}

/// Ends the command when what is in force could not be kept for the next process, or an earlier process could not end.
void g_CheckRecords(const CTool& rTool, CProfileRecords& rRecords, bool bForce) {
    if (rRecords.NeedsPlace() && !rRecords.HasPlace())
        throw CFailure(EExit::kFailed, "there is no folder to keep what is in force now; nothing was written");
    const std::string sLeft = rRecords.LeftBehind();
    if (!sLeft.empty() && !bForce)
        throw CFailure(EExit::kFailed, sLeft + "; nothing was written, --force lets this one take its place");
    if (!sLeft.empty()) rTool.Output().Note(sLeft + ", until this one takes its place");
}

void g_CheckHarmless(const CHostLibrary& rLibrary, const std::vector<CProfileTarget>& rTargets, bool bForce) {
    std::string sReasons;
    for (const std::string& rsReason : g_WhyHarmful(rLibrary, rTargets))
        sReasons += (sReasons.empty() ? "" : "; ") + rsReason;
    if (!sReasons.empty() && !bForce)
        throw CFailure(EExit::kUsage, sReasons + "; nothing was written, --force tries all the same");
}

EExit g_ApplyNothing(CTool& rTool, const std::vector<CJudgedEntry>& rEntries, const CFindings& rFindings) {
    CDocument Document = rTool.NewDocument();
    Document["dry_run"] = rTool.Options().bDryRun;
    Document["changes"] = CJson::Array();
    Document.SetCsv("changes");
    g_AddConfirmation(Document, std::nullopt);
    g_AddIgnored(Document, rEntries);
    const EExit eExit = g_AddFindings(Document, rTool, rFindings, EExit::kDone);
    rTool.Output().Note("nothing to change: what the profile asks for is in force");
    return rTool.Emit(Document, eExit);
}

EExit g_Apply(CTool& rTool, const CWanted& rWanted) {
    if (rWanted.oSeconds) g_CheckRunTime("--confirm", *rWanted.oSeconds);
    if (rWanted.oSeconds && !rTool.Options().bDryRun && !g_IsGuarded()) return g_RunGuarded(rTool, kKilled);
    const CHostLibrary Library(rTool.Options());
    const CProfileDocument Profile(Library, *rWanted.oFile);
    Profile.CheckReadable();
    CProfileRecords Records(Library);
    if (!rTool.Options().bDryRun) Records.CheckIdle();  // from here on nobody else changes what is read now
    const std::vector<CProfileSetting> Machine = g_MachineProfile(Library);
    std::vector<CProfileTarget> Targets = g_TargetsHere(Profile, Library, Machine);
    std::erase_if(Targets, [](const CProfileTarget& r) { return r.IsInForce() != false; });
    g_SortSafely(Targets);
    const std::vector<CJudgedEntry> Entries = g_JudgeEntries(Profile, Library, Machine);
    const CFindings Findings = Library.Findings();  // up to here: of the changes their outcome tells
    if (Targets.empty()) return g_ApplyNothing(rTool, Entries, Findings);
    g_CheckHarmless(Library, Targets, rWanted.bForce);
    if (!rTool.Options().bDryRun) g_CheckRecords(rTool, Records, rWanted.bForce);

    std::optional<CConfirmation> oConfirmation;
    if (rWanted.oSeconds)
        oConfirmation =
            CConfirmation{*rWanted.oSeconds, 0, rTool.Options().bDryRun ? EConfirmed::kPlanned : EConfirmed::kNotBegun};
    const bool bAsks = !rTool.Options().bYes && !g_IsGuarded();
    CProfileApplication Application(Library, Profile, Machine, Targets, Records, bAsks);
    CChangePlan Plan;
    for (const CProfileTarget& rTarget : Targets) Plan.Add(g_NewChange(rTarget));
    CJointWrite Joint{.Begin = [&] { Application.Begin(); },
                      .Write = [&] { return Application.Write(); },
                      .WantsUndone = [&] { return Application.WantsUndone(); }};
    if (oConfirmation) Joint.Verify = [&] { return g_AwaitConfirmation(*oConfirmation, rTool); };
    return Library.Finish(Plan.RunJointly(rTool, Joint, [&](CDocument& rDocument, EExit eExit) {
        eExit = Application.Finish(eExit);
        g_AddConfirmation(rDocument, oConfirmation);
        g_AddIgnored(rDocument, Entries);
        return g_AddFindings(rDocument, rTool, Findings, eExit);
    }));
}

}  // namespace

extern constexpr CCommand kProfileApply{
    "profile apply", "Write a profile's settings to the hardware; put all back when one is not taken",
    "  vxtctl profile apply fast.xml --dry-run\n"
    "  vxtctl profile apply fast.xml --confirm 60  put back after a minute without 'keep'",
    g_NewCall<CWanted, kOptions, g_Apply>};

}  // namespace vxtctl
