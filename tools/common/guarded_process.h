// A command whose work another process does, so that nothing that happens to the visible one leaves it undone: a closed
// terminal, Ctrl-C, an end by force.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "common/command.h"

namespace vxttools {

/// Runs the command line once more in a guarded process: passes lines there and output back, until it ends. Ctrl-C and the
/// end of this process's input end the guarded one's input, no more. Returns its exit code; ends the command when it
/// was killed, with `sKilled`.
EExit g_RunGuarded(const CTool& rTool, const std::string& sKilled);

/// This is the guarded process.
bool g_IsGuarded();

/// The exit code of this process: a guarded one's tells that it came to its own end, which its visible one looks for.
int g_OwnExit(int nExit);

/// Takes the mark of a guarded process away, and what the visible one tells it of the terminal. Ends a command line that
/// has the mark without that: a person's.
void g_EnterGuard(std::vector<std::string>& rArguments);

enum class EReply { kLine, kEnded, kTimedOut, kInterrupted };

/// Waits for a line on stdin, which `rsLine` takes; calls `Tell` with the seconds that are left, whenever they change.
EReply g_AwaitLine(std::chrono::seconds Longest, std::string& rsLine, const std::function<void(long long)>& Tell);

}  // namespace vxttools
