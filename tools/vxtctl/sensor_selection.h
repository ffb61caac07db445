// Which sensors a command line is about.
#pragma once

#include "common/command.h"
#include "sensors.h"

namespace vxtctl {

/// Those that any of the words names, in their order; all without a word. A word is a kind ("fan") or an id, or its
/// beginning ("south-bridge/0", "cpu/0/voltage"), with or without the slash in front. Ends the command when a word names
/// none.
std::vector<CSensor> g_SelectSensors(const CHostLibrary& rLibrary, const std::vector<std::string>& rWords);

/// The words that there are: kinds and devices, behind a slash the ids.
std::vector<vxttools::CCandidate> g_SensorCandidates(const vxttools::CTool& rTool, const std::string& sBegun);

}  // namespace vxtctl
