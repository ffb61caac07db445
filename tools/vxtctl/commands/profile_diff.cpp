// vxtctl profile diff: where a profile differs from this machine, or from another profile.
#include "common/command.h"
#include "common/text.h"
#include "profile_comparison.h"
#include "profile_records.h"
#include "profile_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oFile, oOther;
};
constexpr COption<CWanted> kOptions[] = {
    {"FILE", "", "Profile to compare", &CWanted::oFile, true},
    {"OTHER_FILE", "", "Profile to compare it with; this machine when left out", &CWanted::oOther},
};

/// Of the second side to the first; switches have none.
std::optional<double> g_Gap(const CDifference& r) {
    return r.oProfile && r.oOther && !r.Kind.bSwitch ? std::optional(*r.oOther - *r.oProfile) : std::nullopt;
}

std::string g_GapText(const CDifference& r) {
    const std::optional<double> oGap = g_Gap(r);
    return oGap ? (*oGap > 0 ? "+" : "") + g_Trimmed(*oGap, 4) : "-";
}

void g_Report(CDocument& rDocument, const CWanted& rWanted, const CComparison& rComparison) {
    rDocument["file"] = rWanted.oFile;
    rDocument["other_file"] = rWanted.oOther;
    rDocument["compared"] = rComparison.uCompared;
    rDocument["not_held"] = rComparison.NotHeld;
    CJson& rRows = rDocument["differences"] = CJson::Array();
    rDocument.SetCsv("differences");
    CTextTable Table{"",
                     {"Whose", "Setting", ">" + *rWanted.oFile, ">" + rWanted.oOther.value_or("This machine"),
                      ">Difference", "Unit", "Remark"}};
    for (const CDifference& r : rComparison.Differences) {
        const auto TextOrNull = [](const std::string& rsText) { return rsText.empty() ? nullptr : CJson(rsText); };
        CJson& rRow = rRows.Push({{"id", TextOrNull(r.sId)},
                                  {"label", TextOrNull(r.Kind.sLabel)},
                                  {"profile", g_ToJson(r.oProfile)},
                                  {"other", g_ToJson(r.oOther)},
                                  {"difference", g_ToJson(g_Gap(r))},
                                  {"unit", r.Kind.sLabel.empty() ? nullptr : CJson(r.Kind.sUnit)},
                                  {"reason", TextOrNull(r.sReason)}});
        g_AddNames(rRow, r.Names);
        const auto Cell = [&](const std::optional<double>& rValue) { return rValue ? r.Kind.Text(*rValue) : "-"; };
        Table.Rows.push_back({r.sOwner, r.Kind.sLabel.empty() ? g_Utf8(r.Names.sKey.c_str()) : r.Kind.sLabel,
                              Cell(r.oProfile), Cell(r.oOther), g_GapText(r), r.Kind.sUnit, r.sReason});
    }
    if (rComparison.Differences.empty())
        rDocument.SetText("no difference in " + std::to_string(rComparison.uCompared) + " settings\n");
    else
        rDocument.AddTable(std::move(Table));
}

EExit g_ProfileDiff(CTool& rTool, const CWanted& rWanted) {
    using EStart = CHostLibrary::EStart;
    // Two profiles need no machine; with one the answer knows more of them.
    const CHostLibrary Library(rTool.Options(), rWanted.oOther ? EStart::kIfPossible : EStart::kRequired);
    const CProfileDocument Profile(Library, *rWanted.oFile);
    Profile.CheckReadable();
    CComparison Comparison;
    if (rWanted.oOther) {
        const CProfileDocument Other(Library, *rWanted.oOther);
        Other.CheckReadable();
        Comparison = g_CompareProfiles(Profile, Other, Library);
    } else {
        g_RemarkOnLeftProfile(Library, rTool.Output());
        Comparison = g_CompareWithMachine(Profile, Library);
        if (!Comparison.NotHeld.empty())
            rTool.Output().Note(std::to_string(Comparison.NotHeld.size()) +
                                " settings of this machine are not in the profile, which leaves them as they are");
    }
    CDocument Document = rTool.NewDocument();
    g_Report(Document, rWanted, Comparison);
    const EExit eExit = Library.Emit(rTool, Document, std::move(Comparison.Findings));
    return eExit == EExit::kDone && !Comparison.Differences.empty() ? EExit::kFindings : eExit;
}

}  // namespace

extern constexpr CCommand kProfileDiff{"profile diff", "Compare a profile with this machine or with another one",
                                       "  vxtctl profile diff quiet.xml\n  vxtctl profile diff quiet.xml fast.xml",
                                       g_NewCall<CWanted, kOptions, g_ProfileDiff>};

}  // namespace vxtctl
