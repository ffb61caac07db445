// Keeping something up for a while: until the time is over, the user wants it to end, or it cannot go on.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "common/command.h"
#include "host_library.h"

namespace vxtctl {

enum class ERunEnd { kPlanned, kNotBegun, kDone, kInterrupted, kTooHot, kStopped, kFailed };

/// How it went, for the answer.
struct CTimedRun {
    uint32_t uSeconds;  ///< asked for
    double dLasted = 0;
    ERunEnd eEnd = ERunEnd::kNotBegun;
    std::optional<bool> oPutBack = std::nullopt;  ///< everything is as before; nothing: it was not changed
    std::string sReason = {};                     ///< of an end that nobody asked for
};

struct CRunSteps {
    std::function<ERunEnd(double dSeconds)> Look;  ///< at once, then step by step: kDone goes on
    std::function<std::string()> Progress;         ///< behind the time, on a terminal
    std::chrono::milliseconds Step{1000};          ///< from one look to the next, about
};

/// Comes back with the time that it lasted and how it ended, and puts nothing back.
void g_RunFor(CTimedRun& rRun, const vxttools::CTool& rTool, const CHostLibrary& rLibrary, const CRunSteps& rSteps);

/// How it went, as JSON.
vxttools::CJson g_ToJson(const CTimedRun& rRun);
/// The member "hold" and its table; no run: null.
void g_AddRun(vxttools::CDocument& rDocument, const std::optional<CTimedRun>& rRun);

/// How a command ends whose changes went well.
vxttools::EExit g_RunExit(const CTimedRun& rRun);

/// Ends the command when it is no number of seconds that something can be kept up for.
void g_CheckRunTime(const char* pszOption, uint32_t uSeconds);

}  // namespace vxtctl
