// vxtctl profile rollback: what was in force before the last profile was applied.
#include <algorithm>

#include "profile_plan.h"
#include "profile_records.h"

namespace vxtctl {

using namespace vxttools;

namespace {

/// What of the record is to be written, and what this PC does not have.
struct CRollback {
    std::vector<CProfileTarget> Targets = {};
    std::vector<std::string> Missing = {};
};

CRollback g_Compare(const CAppliedProfile& rApplied, const std::vector<CProfileSetting>& rMachine) {
    CRollback Rollback;
    for (const auto& [sId, dValue] : rApplied.Before) {
        const auto it = std::ranges::find(rMachine, sId, &CProfileSetting::Id);
        if (it == rMachine.end() || !it->Setting.oValue)
            Rollback.Missing.push_back(sId);
        else if (const CProfileTarget Target{&*it, dValue}; Target.IsInForce() == false)
            Rollback.Targets.push_back(Target);
    }
    g_SortSafely(Rollback.Targets);
    return Rollback;
}

void g_AddRecord(CDocument& rDocument, const std::optional<CAppliedProfile>& rApplied, const CRollback& rRollback) {
    rDocument["profile"] = rApplied ? CJson(rApplied->sProfile) : nullptr;
    rDocument["begun"] = rApplied ? CJson(rApplied->sBegun) : nullptr;
    rDocument["missing"] = rRollback.Missing;
}

/// The record has served where all is back.
EExit g_Finish(const CTool& rTool, CProfileRecords& rRecords, const CRollback& rRollback, EExit eExit) {
    for (const std::string& rsId : rRollback.Missing)
        g_PrintRemark(rsId.substr(1) + ": it was set before, and cannot be read now; the record of it stays");
    if (!rRollback.Missing.empty()) return EExit::kFailed;
    const bool bServed = eExit == EExit::kDone && !rTool.Options().bDryRun && rRecords.Last();
    return bServed && !rRecords.TrySetLast(std::nullopt) ? EExit::kFailed : eExit;
}

EExit g_Rollback(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    CProfileRecords Records(Library);
    if (Records.Last()) Records.CheckIdle();
    const std::optional<CAppliedProfile> oApplied = Records.Last();
    const std::vector<CProfileSetting> Machine = g_MachineProfile(Library);
    const CRollback Rollback = oApplied ? g_Compare(*oApplied, Machine) : CRollback{};
    if (Rollback.Targets.empty()) {
        CDocument Document = rTool.NewDocument();
        Document["dry_run"] = rTool.Options().bDryRun;
        Document["changes"] = CJson::Array();
        Document.SetCsv("changes");
        g_AddRecord(Document, oApplied, Rollback);
        rTool.Output().Note(oApplied ? "nothing to put back: what was in force before is in force"
                                     : "no profile was applied that could be rolled back");
        return rTool.Emit(Document, g_Finish(rTool, Records, Rollback, EExit::kDone));
    }
    rTool.Output().Note("before " + oApplied->sProfile + " was applied " + oApplied->sBegun + ":");
    CChangePlan Plan;
    for (const CProfileTarget& rTarget : Rollback.Targets) Plan.Add(g_NewChange(rTarget));
    const CJointWrite Joint{.Write = [&] {
        for (const auto& [pSetting, dWanted] : Rollback.Targets) pSetting->Write(dWanted);
        return std::string();
    }};
    return Library.Finish(Plan.RunJointly(rTool, Joint, [&](CDocument& rDocument, EExit eExit) {
        g_AddRecord(rDocument, oApplied, Rollback);
        return g_Finish(rTool, Records, Rollback, eExit);
    }));
}

}  // namespace

extern constexpr CCommand kProfileRollback{
    "profile rollback", "Bring back what was in force before the last profile was applied",
    "  vxtctl profile rollback --dry-run\n  vxtctl profile rollback --yes", g_NewCall<g_Rollback>};

}  // namespace vxtctl
