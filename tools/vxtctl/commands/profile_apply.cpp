// vxtctl profile apply: a profile's settings, written as one.
#include <algorithm>

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

bool g_IsUnread(const CJudgedEntry& rEntry) { return rEntry.pSetting && !rEntry.pSetting->Setting.oValue; }

/// Why an entry changes nothing whatever its value; empty: it does.
std::string g_WhyIgnored(const CJudgedEntry& rEntry) {
    if (g_IsUnread(rEntry)) return "nobody could put it back: " + rEntry.pSetting->Setting.sReason;
    return rEntry.eFate == EEntry::kApplied ? "" : rEntry.sProblem;
}

/// The profile is not in force as a whole without it. Of elements of one name only the first counts.
bool g_IsMissed(const CJudgedEntry& rEntry) {
    return rEntry.eFate != EEntry::kRepeated && !g_WhyIgnored(rEntry).empty();
}

void g_AddIgnored(CDocument& rDocument, const std::vector<CJudgedEntry>& rEntries) {
    CJson& rIgnored = rDocument["ignored"] = CJson::Array();
    CTextTable Table{"Not applied", {"Entry", ">Value", "Reason"}};
    for (const CJudgedEntry& rEntry : rEntries) {
        const std::string sReason = g_WhyIgnored(rEntry);
        if (sReason.empty()) continue;
        CJson Row{{"text", rEntry.Entry.sText}, {"reason", sReason}};
        g_AddNames(Row, rEntry.Entry);
        rIgnored.Push(std::move(Row));
        Table.Rows.push_back({rEntry.Place(), rEntry.Entry.sText, sReason});
    }
    if (!Table.Rows.empty()) rDocument.AddTable(std::move(Table));
}

/// Ends the command when part of the profile is missing here that may only be unreadable at this moment: half a profile is
/// no profile. Tells of what is missing for good before anybody is asked.
void g_CheckWhole(const CTool& rTool, const std::vector<CJudgedEntry>& rEntries, const CFindings& rFindings,
                  bool bForce) {
    const auto MayBeThere = [](const CJudgedEntry& r) { return g_IsUnread(r) || r.eFate == EEntry::kLacking; };
    const auto uHidden = rFindings.empty() ? 0 : std::ranges::count_if(rEntries, MayBeThere);
    if (uHidden != 0 && !bForce)
        throw CFailure(EExit::kFailed, std::to_string(uHidden) + " of the profile's settings could not be read here: " +
                                           rFindings.front() + "; nothing was written, --force applies the rest");
    for (const CJudgedEntry& rEntry : rEntries)
        if (g_IsMissed(rEntry)) rTool.Output().Note("not applied: " + rEntry.Place() + ": " + g_WhyIgnored(rEntry));
}

/// What of the machine could not be read. Returns how the command ends: the profile may not be in force as a whole.
EExit g_AddFindings(CDocument& rDocument, const CTool& rTool, const CFindings& rFindings,
                    const std::vector<CJudgedEntry>& rEntries, EExit eExit) {
    rDocument["findings"] = rFindings;
    for (const std::string& rsFinding : rFindings) rTool.Output().Note(rsFinding);
    const bool bIsWhole = rFindings.empty() && std::ranges::none_of(rEntries, g_IsMissed);
    return eExit == EExit::kDone && !bIsWhole ? EExit::kFindings : eExit;
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

/// Two entries of a profile may want different values of one thing, a voltage that two controllers reach: then the one
/// that was in force is not any more. Empty: none does.
std::string g_WhyContradicted(const std::vector<CProfileTarget>& rAll) {
    for (const CProfileTarget& rTarget : rAll) {
        const CSetting& rSetting = rTarget.pSetting->Setting;
        if (rTarget.IsInForce() == true && g_ReadsOtherwise(*rTarget.pSetting, rTarget.dWanted))
            return rTarget.pSetting->sOwner + ": " + rSetting.sLabel + ": the profile wants " +
                   rSetting.Text(rTarget.dWanted) + " " + rSetting.sUnit + ", and another of its entries changes that";
    }
    return "";
}

EExit g_ApplyNothing(CTool& rTool, const std::vector<CJudgedEntry>& rEntries, const CFindings& rFindings) {
    CDocument Document = rTool.NewDocument();
    Document["dry_run"] = rTool.Options().bDryRun;
    Document["changes"] = CJson::Array();
    Document.SetCsv("changes");
    g_AddConfirmation(Document, std::nullopt);
    g_AddIgnored(Document, rEntries);
    const EExit eExit = g_AddFindings(Document, rTool, rFindings, rEntries, EExit::kDone);
    rTool.Output().Note(eExit == EExit::kDone ? "nothing to change: what the profile asks for is in force"
                                              : "nothing to change: the rest of the profile is in force");
    return rTool.Emit(Document, eExit);
}

EExit g_Apply(CTool& rTool, const CWanted& rWanted) {
    if (rWanted.oSeconds) g_CheckRunTime("--confirm", *rWanted.oSeconds);
    if (rWanted.oSeconds && !rTool.Options().bDryRun && !g_IsGuarded()) return g_RunGuarded(rTool, kKilled);
    const CHostLibrary Library(rTool.Options());
    const CProfileDocument Profile(Library, *rWanted.oFile);
    Profile.CheckReadable();
    CProfileRecords Records(Library);
    if (rTool.Options().bDryRun)
        g_RemarkOnLeftProfile(Library, rTool.Output());
    else
        Records.CheckIdle();  // from here on nobody else changes what is read now
    const std::vector<CProfileSetting> Machine = g_MachineProfile(Library);
    const std::vector<CProfileTarget> All = g_TargetsHere(Profile, Library, Machine);
    std::vector<CProfileTarget> Targets = All;
    std::erase_if(Targets, [](const CProfileTarget& r) { return r.IsInForce() != false; });
    g_SortSafely(Targets);
    const std::vector<CJudgedEntry> Entries = g_JudgeEntries(Profile, Library, Machine);
    const CFindings Findings = Library.Findings();  // up to here: of the changes their outcome tells
    g_CheckWhole(rTool, Entries, Findings, rWanted.bForce);
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
                      .Verify = [&] { return g_WhyContradicted(All); },
                      .WantsUndone = [&] { return Application.WantsUndone(); }};
    if (oConfirmation) Joint.Confirm = [&] { return g_AwaitConfirmation(*oConfirmation, rTool); };
    return Library.Finish(Plan.RunJointly(rTool, Joint, [&](CDocument& rDocument, EExit eExit) {
        eExit = Application.Finish(eExit);
        g_AddConfirmation(rDocument, oConfirmation);
        g_AddIgnored(rDocument, Entries);
        return g_AddFindings(rDocument, rTool, Findings, Entries, eExit);
    }));
}

}  // namespace

extern constexpr CCommand kProfileApply{
    "profile apply", "Write a profile's settings to the hardware; put all back when one is not taken",
    "  vxtctl profile apply fast.xml --dry-run\n"
    "  vxtctl profile apply fast.xml --confirm 60  put back after a minute without 'keep'",
    g_NewCall<CWanted, kOptions, g_Apply>};

}  // namespace vxtctl
