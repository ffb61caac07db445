// vxtctl profile show: what a profile holds, and what is wrong with it.
#include <algorithm>

#include "common/command.h"
#include "common/text.h"
#include "profile_entries.h"
#include "profile_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oFile;
};
constexpr COption<CWanted> kOptions[] = {
    {"FILE", "", "Profile to look into", &CWanted::oFile, true},
};

/// By EEntry.
constexpr const char* kFates[] = {"ok", "repeated", "no_number", "unknown_key", "no_such_setting"};

CJson g_EntryToJson(const CJudgedEntry& rEntry) {
    const bool bKnown = !rEntry.Kind.sLabel.empty();
    const bool bIllegal = rEntry.eFate == EEntry::kApplied && !rEntry.sProblem.empty();
    CJson Row{{"id", rEntry.pSetting ? CJson(rEntry.pSetting->Id()) : nullptr},
              {"label", bKnown ? CJson(rEntry.Kind.sLabel) : nullptr},
              {"value", g_ToJson(rEntry.Entry.oNumber)},
              {"unit", bKnown ? CJson(rEntry.Kind.sUnit) : nullptr},
              {"text", rEntry.Entry.sText},
              {"status", bIllegal ? "not_legal" : kFates[static_cast<size_t>(rEntry.eFate)]},
              {"reason", rEntry.sProblem.empty() ? nullptr : CJson(rEntry.sProblem)}};
    g_AddNames(Row, rEntry.Entry);
    return Row;
}

EExit g_ProfileShow(CTool& rTool, const CWanted& rWanted) {
    const CHostLibrary Library(rTool.Options(), CHostLibrary::EStart::kIfPossible);
    const CProfileDocument Profile(Library, *rWanted.oFile);
    Profile.CheckReadable();
    if (!Library.IsStarted())
        rTool.Output().Note("the library did not start, so this machine is not known; --log tells why");
    const std::vector<CProfileSetting> Machine = g_MachineProfile(Library);
    CDocument Document = rTool.NewDocument();
    Document["file"] = *rWanted.oFile;
    Document["machine_known"] = Library.IsStarted();
    CJson& rRows = Document["entries"] = CJson::Array();
    Document.SetCsv("entries");
    CTextTable Table{*rWanted.oFile, {"Whose", "Setting", ">Value", "Unit", "Remark"}};
    CFindings Findings;
    for (const CJudgedEntry& rEntry : g_JudgeEntries(Profile, Library, Machine)) {
        rRows.Push(g_EntryToJson(rEntry));
        const bool bKnown = !rEntry.Kind.sLabel.empty();
        const std::optional<double>& roNumber = rEntry.Entry.oNumber;
        Table.Rows.push_back({rEntry.Owner(), bKnown ? rEntry.Kind.sLabel : g_Utf8(rEntry.Entry.sKey.c_str()),
                              roNumber ? rEntry.Kind.Text(*roNumber) : rEntry.Entry.sText, rEntry.Kind.sUnit,
                              rEntry.sProblem});
        if (!rEntry.sProblem.empty() && !std::ranges::count(Findings, rEntry.Finding()))
            Findings.push_back(rEntry.Finding());
    }
    Document.AddTable(std::move(Table));
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kProfileShow{"profile show", "Show what a profile holds, and what is wrong with it",
                                       "  vxtctl profile show quiet.xml\n  vxtctl profile show quiet.xml --json",
                                       g_NewCall<CWanted, kOptions, g_ProfileShow>};

}  // namespace vxtctl
