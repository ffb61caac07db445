// vxtctl profile: what profiles hold of this machine.
#include "common/command.h"
#include "profile_records.h"
#include "profile_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

EExit g_Profile(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    g_RemarkOnLeftProfile(Library, rTool.Output());
    const std::vector<CProfileSetting> Machine = g_MachineProfile(Library);
    if (Machine.empty()) throw Library.Absent("setting");
    CDocument Document = rTool.NewDocument();
    CSettingRows Rows;
    CFindings Findings;
    for (const CProfileSetting& rSetting : Machine) {
        Rows.Add(rSetting);
        if (rSetting.Setting.bUnread) Findings.push_back(rSetting.Id() + ": " + rSetting.Setting.sReason);
    }
    for (const CUnheld& rUnheld : g_Unheld(Library)) Rows.LeaveOut(rUnheld);
    Rows.Report(Document, "Settings that profiles hold");
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kProfile{"profile", "Show this machine's settings as profiles hold them",
                                   "  vxtctl profile\n  vxtctl profile --json", g_NewCall<g_Profile>};

}  // namespace vxtctl
