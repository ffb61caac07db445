// vxtctl profile verify: whether a profile is in force, for scripts.
#include "common/command.h"
#include "profile_comparison.h"
#include "profile_records.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oFile;
};
constexpr COption<CWanted> kOptions[] = {
    {"FILE", "", "Profile that should be in force", &CWanted::oFile, true},
};

EExit g_ProfileVerify(CTool& rTool, const CWanted& rWanted) {
    const CHostLibrary Library(rTool.Options());
    g_RemarkOnLeftProfile(Library, rTool.Output());
    const CProfileDocument Profile(Library, *rWanted.oFile);
    Profile.CheckReadable();
    CComparison Comparison = g_CompareWithMachine(Profile, Library);
    const size_t uDiffering = Comparison.Differences.size();
    const bool bInForce = Comparison.IsSame() && Library.Findings().empty();
    CDocument Document = rTool.NewDocument();
    Document["file"] = *rWanted.oFile;
    Document["in_force"] = bInForce;
    Document["compared"] = Comparison.uCompared;
    Document["differing"] = uDiffering;
    const std::string sDiffering =
        std::to_string(uDiffering) + " of " + std::to_string(Comparison.uCompared) + " settings differ";
    Document.SetText(*rWanted.oFile + ": " +
                     (bInForce          ? "in force"
                      : uDiffering == 0 ? "cannot be told, because something could not be read"
                                        : sDiffering) +
                     "\n");
    const EExit eExit = Library.Emit(rTool, Document, std::move(Comparison.Findings));
    return eExit == EExit::kDone && uDiffering > 0 ? EExit::kFindings : eExit;
}

}  // namespace

extern constexpr CCommand kProfileVerify{"profile verify", "Tell whether a profile is in force",
                                         "  vxtctl profile verify quiet.xml  code 0: it is in force, 6: it is not",
                                         g_NewCall<CWanted, kOptions, g_ProfileVerify>};

}  // namespace vxtctl
