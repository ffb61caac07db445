// A host that tunes, as Windows starts it again after a crash.
#pragma once

#include <optional>
#include <string>

/// What this program does when it is started with the argument "AutoTune": its exit code, the search's status.
std::optional<int> g_RunTuningHost(const std::string& sArgument);
