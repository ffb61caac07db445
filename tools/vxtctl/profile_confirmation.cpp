#include "profile_confirmation.h"

#include <chrono>

#include "common/guarded_process.h"
#include "common/progress_line.h"
#include "common/text.h"

namespace vxtctl {

using vxttools::EReply;

namespace {

constexpr const char* kWord = "keep";

struct CEndRow {
    const char *pszName, *pszText;  ///< in JSON; why everything is put back
};
/// By EConfirmed.
constexpr CEndRow kEnds[] = {
    {"planned", ""},
    {"not_begun", ""},
    {"kept", ""},
    {"declined", "not confirmed: the answer was not 'keep'"},
    {"timed_out", "not confirmed in time"},
    {"interrupted", "not confirmed: interrupted"},
};

EConfirmed g_EndOf(EReply eReply, const std::string& sLine) {
    if (eReply == EReply::kTimedOut) return EConfirmed::kTimedOut;
    if (eReply != EReply::kLine) return EConfirmed::kInterrupted;
    return vxttools::g_Lower(sLine) == kWord ? EConfirmed::kKept : EConfirmed::kDeclined;
}

}  // namespace

std::string g_AwaitConfirmation(CConfirmation& rConfirmation, const vxttools::CTool& rTool) {
    const std::string sSeconds = std::to_string(rConfirmation.uSeconds);
    vxttools::g_PrintRemark(std::string("Type '") + kWord + "' and Enter within " + sSeconds +
                            " s, or everything is put back.");
    const auto Start = std::chrono::steady_clock::now();
    std::string sLine;
    EReply eReply{};
    {
        vxttools::CProgressLine Line(rTool.Options().bQuiet);
        eReply = vxttools::g_AwaitLine(std::chrono::seconds(rConfirmation.uSeconds), sLine,
                                       [&](long long llLeft) { Line.Show(std::to_string(llLeft) + " s left"); });
    }
    rConfirmation.dLasted = std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
    rConfirmation.eEnd = g_EndOf(eReply, sLine);
    const std::string sWhy = kEnds[static_cast<size_t>(rConfirmation.eEnd)].pszText;
    if (!sWhy.empty()) vxttools::g_PrintRemark(sWhy + "; putting everything back");
    return sWhy;
}

void g_AddConfirmation(vxttools::CDocument& rDocument, const std::optional<CConfirmation>& rConfirmation) {
    vxttools::CJson& rMember = rDocument["confirmation"] = nullptr;
    if (!rConfirmation) return;
    rMember = {{"seconds", rConfirmation->uSeconds},
               {"lasted", vxttools::g_ToJson(std::optional(rConfirmation->dLasted))},
               {"ended", kEnds[static_cast<size_t>(rConfirmation->eEnd)].pszName}};
}

}  // namespace vxtctl
