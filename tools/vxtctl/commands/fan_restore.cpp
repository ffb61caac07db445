// vxtctl fan restore: what a hold left behind that could not end.
#include <algorithm>

#include "common/change_plan.h"
#include "fan_control.h"
#include "hold_records.h"
#include "timed_run.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CLeft {
    CHoldRecord Record;
    CFan* pFan;
    bool bBack = false;  ///< a chip's control cannot be compared with the one that was saved: this process knows
};

/// Ends the command when a record is of a fan that this PC does not have.
std::vector<CLeft> g_FindLeft(const CHoldRecords& rRecords, std::vector<CFan>& rFans) {
    std::vector<CLeft> Left;
    for (const CHoldRecord& rRecord : rRecords.Left()) {
        const auto it = std::ranges::find(rFans, rRecord.sFan, &CFan::Id);
        if (it == rFans.end() || it->Chip() != rRecord.sChip || !it->IsControlled())
            throw CFailure(EExit::kNoSuchDevice, rRecords.FileName() + ": this PC has no " + rRecord.sFan.substr(1) +
                                                     " on a chip '" + rRecord.sChip + "'; nothing was written");
        Left.push_back({rRecord, &*it});
    }
    return Left;
}

CChange g_NewChange(CLeft& rLeft) {
    const auto& oDuty = rLeft.Record.oDuty;
    return {
        .sId = rLeft.pFan->Id() + "/control",
        .sOwner = rLeft.pFan->Name(),
        .sLabel = "Control",
        .sUnit = "",
        .dWanted = 1,
        .dTolerance = 0,
        .sLegal = "",
        .Limits = {0, 1},
        .Read = [&rLeft]() -> std::optional<double> { return rLeft.bBack; },
        .Write =
            [&rLeft] {
                return rLeft.bBack = rLeft.pFan->Restore({rLeft.Record.uControl, rLeft.Record.oDuty});
            },
        .Text = [](double d) { return d != 0 ? "as before the hold" : "as the hold left it"; },
        .sNote = "of " + rLeft.Record.sBegun + ": " +
                 (oDuty ? "a duty of " + std::to_string(*oDuty) + " %" : "driven by the chip"),
        .sDoubt = "was not taken over by the chip",
    };
}

EExit g_FanRestore(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    std::vector<CFan> Fans = g_FindFans(Library);
    if (Fans.empty()) throw Library.Absent("fan");
    CHoldRecords Records(Library);
    if (!Records.Left().empty() && Records.IsBusyElsewhere())
        throw CFailure(EExit::kFailed, "another vxtctl holds fans at this moment and puts them back itself");
    std::vector<CLeft> Left = g_FindLeft(Records, Fans);
    if (Left.empty()) {
        CDocument Document = rTool.NewDocument();
        Document["dry_run"] = rTool.Options().bDryRun;
        Document["changes"] = CJson::Array();
        Document["hold"] = nullptr;
        Document.SetCsv("changes");
        rTool.Output().Note("no hold has left anything to put back");
        return rTool.Emit(Document);
    }
    CChangePlan Plan;
    for (CLeft& rLeft : Left) Plan.Add(g_NewChange(rLeft));
    return Library.Finish(Plan.Run(rTool, [&](CDocument& rDocument, EExit eExit) {
        std::vector<std::string> Back;
        for (const CLeft& rLeft : Left)
            if (rLeft.bBack) Back.push_back(rLeft.Record.sFan);
        if (!Back.empty()) Records.Remove(Back);
        g_AddRun(rDocument, std::nullopt);
        return eExit;
    }));
}

}  // namespace

extern constexpr CCommand kFanRestore{"fan restore", "Put back what a hold left behind that was killed",
                                      "  vxtctl fan restore --yes", g_NewCall<g_FanRestore>};

}  // namespace vxtctl
