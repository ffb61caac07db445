// vxtctl profile save: this machine's settings as a profile.
#include "common/console.h"
#include "profile_records.h"
#include "profile_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oFile;
};
constexpr COption<CWanted> kOptions[] = {
    {"FILE", "", "Profile to write; one that is there already is replaced", &CWanted::oFile, true},
};

/// Ends the command unless the file may be replaced.
void g_AskToReplace(const CTool& rTool, const std::string& sFile, size_t uSettings) {
    if (rTool.Options().bYes) return;
    const std::string sWhat = sFile + " holds a profile of " + std::to_string(uSettings) + " settings";
    if (!g_IsStdinTerminal())
        throw CFailure(EExit::kUsage, sWhat + "; no terminal to ask on: --yes replaces it without asking");
    if (!g_AskYes(sWhat + ". Replace it?"))
        throw CFailure(g_WasInterrupted() ? EExit::kInterrupted : EExit::kFailed, "nothing was written");
}

/// Puts the settings into the empty profile and into the answer; what has no value, or no place there, is left out.
class CSaving {
public:
    CSaving(CProfileDocument& rProfile, const std::vector<CProfileSetting>& rMachine)
        : m_rProfile(rProfile), m_rMachine(rMachine) {
        m_rProfile.Clear();
        for (const CProfileSetting& rSetting : rMachine) _Save(rSetting);
    }
    CSettingRows& Rows() { return m_Rows; }
    CFindings TakeFindings() { return std::move(m_Findings); }

private:
    void _Save(const CProfileSetting& rSetting);
    void _LeaveOut(const CProfileSetting& rSetting, const std::string& sReason) {
        m_Rows.LeaveOut({rSetting.Id(), rSetting.Setting.sLabel, sReason});
    }
    void _CheckShared(const CProfileSetting& rSetting);

    CProfileDocument& m_rProfile;
    const std::vector<CProfileSetting>& m_rMachine;
    CSettingRows m_Rows;
    CFindings m_Findings;
};

void CSaving::_Save(const CProfileSetting& rSetting) {
    const CSetting& rValue = rSetting.Setting;
    if (!rValue.oValue) {
        _LeaveOut(rSetting, rValue.sReason);
        if (rValue.bUnread) m_Findings.push_back(rSetting.Id() + ": " + rValue.sReason);
    } else if (rSetting.eApplied == EApplied::kByAnother) {
        _CheckShared(rSetting);
    } else if (m_rProfile.SetValue(rSetting, *rValue.oValue)) {
        m_Rows.Add(rSetting);
    } else {
        _LeaveOut(rSetting, "profiles can hold no setting of such a name");
    }
}

/// Where one key stands for several settings, profiles hold the first one's value.
void CSaving::_CheckShared(const CProfileSetting& rSetting) {
    const CProfileSetting& rFirst = *g_FindSetting(m_rMachine, rSetting);
    const auto oFirst = rFirst.Setting.oValue;
    if (oFirst && !g_ReadsAs(oFirst, *rSetting.Setting.oValue, rSetting.Setting.dTolerance))
        _LeaveOut(rSetting, "profiles keep one value for it and " + rFirst.Id() +
                                ", and they differ: " + rSetting.Setting.Text(*rSetting.Setting.oValue) + " here, " +
                                rFirst.Setting.Text(*oFirst) + " " + rFirst.Setting.sUnit + " there");
}

EExit g_ProfileSave(CTool& rTool, const CWanted& rWanted) {
    const CHostLibrary Library(rTool.Options());
    g_RemarkOnLeftProfile(Library, rTool.Output());
    const std::vector<CProfileSetting> Machine = g_MachineProfile(Library);
    if (Machine.empty()) throw Library.Absent("setting");
    CProfileDocument Profile(Library, *rWanted.oFile);
    const bool bReplaces = Profile.FileExists();
    if (bReplaces) {
        if (!Profile.Problem().empty())  // it may be anything
            throw CFailure(EExit::kFailed, Profile.File() + " is there and is no profile: " + Profile.Problem() +
                                               "; it was left as it is");
        if (!rTool.Options().bDryRun) g_AskToReplace(rTool, *rWanted.oFile, Profile.Entries().size());
    }
    CSaving Saving(Profile, Machine);
    for (const CUnheld& rUnheld : g_Unheld(Library)) Saving.Rows().LeaveOut(rUnheld);
    if (Saving.Rows().Count() == 0) throw CFailure(EExit::kFailed, "no setting could be read; nothing was written");
    const bool bDryRun = rTool.Options().bDryRun;
    if (g_WasInterrupted()) throw CFailure(EExit::kInterrupted, "interrupted; nothing was written");
    if (!bDryRun) Profile.Save();
    CDocument Document = rTool.NewDocument();
    Document["file"] = Profile.File();
    Document["dry_run"] = bDryRun;
    Document["replaced"] = bReplaces;
    Saving.Rows().Report(Document, Profile.File() + (bDryRun ? " (dry run: nothing was written)" : ""));
    return Library.Emit(rTool, Document, Saving.TakeFindings());
}

}  // namespace

extern constexpr CCommand kProfileSave{"profile save", "Write this machine's settings as a profile",
                                       "  vxtctl profile save quiet.xml\n  vxtctl profile save quiet.xml --dry-run\n"
                                       "  vxtctl profile save fast.xml --yes  replaces the profile that is there",
                                       g_NewCall<CWanted, kOptions, g_ProfileSave>};

}  // namespace vxtctl
