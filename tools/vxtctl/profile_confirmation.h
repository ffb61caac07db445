// A profile that stays only when somebody says so in time: a PC that hangs, or a screen that is gone, says nothing.
#pragma once

#include <optional>

#include "common/command.h"

namespace vxtctl {

enum class EConfirmed { kPlanned, kNotBegun, kKept, kDeclined, kTimedOut, kInterrupted };

/// How it went, for the answer.
struct CConfirmation {
    uint32_t uSeconds;  ///< asked for
    double dLasted = 0;
    EConfirmed eEnd = EConfirmed::kNotBegun;
};

/// Waits for the word on stdin. Returns why the changes cannot stay; an empty text: they can.
std::string g_AwaitConfirmation(CConfirmation& rConfirmation, const vxttools::CTool& rTool);

/// The member "confirmation"; none was asked for: null.
void g_AddConfirmation(vxttools::CDocument& rDocument, const std::optional<CConfirmation>& rConfirmation);

}  // namespace vxtctl
