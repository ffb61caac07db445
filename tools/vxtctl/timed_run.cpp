#include "timed_run.h"

#include <algorithm>
#include <chrono>

#include "common/console.h"
#include "common/progress_line.h"
#include "common/text.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::CJson;
using vxttools::EExit;
using vxttools::g_Trimmed;

namespace {

struct CEndRow {
    const char* pszName;  ///< in JSON
    const char* pszText;
    EExit eExit;
};
/// By ERunEnd.
constexpr CEndRow kEnds[] = {
    {"planned", "planned", EExit::kDone},          {"not_begun", "not begun", EExit::kFailed},
    {"done", "to its end", EExit::kDone},          {"interrupted", "INTERRUPTED", EExit::kInterrupted},
    {"too_hot", "ENDED: too hot", EExit::kFailed}, {"stopped", "ENDED: a fan stands still", EExit::kNotTaken},
    {"failed", "FAILED", EExit::kFailed},
};
const CEndRow& g_Row(const CTimedRun& rRun) { return kEnds[static_cast<size_t>(rRun.eEnd)]; }

}  // namespace

void g_RunFor(CTimedRun& rRun, const vxttools::CTool& rTool, const CHostLibrary& rLibrary, const CRunSteps& rSteps) {
    using CClock = std::chrono::steady_clock;
    const auto Start = CClock::now();
    const std::chrono::milliseconds Whole = std::chrono::seconds(rRun.uSeconds);
    vxttools::CProgressLine Line(rTool.Options().bQuiet);
    for (;;) {
        const auto Passed = std::chrono::duration_cast<std::chrono::milliseconds>(CClock::now() - Start);
        rRun.dLasted = static_cast<double>(Passed.count()) / 1000;
        rRun.eEnd = vxttools::g_WasInterrupted() ? ERunEnd::kInterrupted : rSteps.Look(rRun.dLasted);
        if (rRun.eEnd != ERunEnd::kDone || Passed >= Whole) return;
        Line.Show(g_Trimmed(rRun.dLasted, 0) + " s of " + std::to_string(rRun.uSeconds) + rSteps.Progress());
        rLibrary.Pause(std::min(rSteps.Step, Whole - Passed));
    }
}

CJson g_ToJson(const CTimedRun& rRun) {
    return {{"seconds", rRun.uSeconds},
            {"lasted", vxttools::g_ToJson(std::optional(rRun.dLasted))},
            {"ended", g_Row(rRun).pszName},
            {"put_back", rRun.oPutBack},
            {"reason", rRun.sReason.empty() ? nullptr : CJson(rRun.sReason)}};
}

void g_AddRun(vxttools::CDocument& rDocument, const std::optional<CTimedRun>& rRun) {
    rDocument["hold"] = rRun ? g_ToJson(*rRun) : nullptr;
    if (!rRun) return;
    const char* const pszBack = !rRun->oPutBack ? "-" : *rRun->oPutBack ? "yes" : "NO";
    rDocument.AddTable({"Hold",
                        {">Asked, s", ">Lasted, s", "Ended", "Put back", "~Reason"},
                        {{std::to_string(rRun->uSeconds), g_Trimmed(rRun->dLasted, 1), g_Row(*rRun).pszText, pszBack,
                          rRun->sReason}}});
}

EExit g_RunExit(const CTimedRun& rRun) {
    return rRun.oPutBack == false && rRun.eEnd != ERunEnd::kInterrupted ? EExit::kFailed : g_Row(rRun).eExit;
}

void g_CheckRunTime(const char* pszOption, uint32_t uSeconds) {
    constexpr uint32_t kLongest = 24 * 60 * 60;
    if (uSeconds < 1 || uSeconds > kLongest)
        throw CFailure(EExit::kUsage,
                       std::string(pszOption) + ": expected 1 to " + std::to_string(kLongest) + " seconds");
}

}  // namespace vxtctl
