// What shell completion offers as values, read off the machine as the listing commands do.
#pragma once

#include "common/command.h"

namespace vxtctl {

/// "cpu", and "cpu:0" for each device.
std::vector<vxttools::CCandidate> g_DeviceCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
/// Numbers of cores.
std::vector<vxttools::CCandidate> g_CoreCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
std::vector<vxttools::CCandidate> g_CoreOrAllCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
std::vector<vxttools::CCandidate> g_LinkCandidates(const vxttools::CTool& rTool, const std::string& sBegun);

/// Legal values of the core that --core names, of the first one where it names all. Behind a voltage only the
/// multipliers that run at it, behind a multiplier only the voltages that it runs at; else the other may follow.
std::vector<vxttools::CCandidate> g_PstateCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
std::vector<vxttools::CCandidate> g_MultiplierCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
std::vector<vxttools::CCandidate> g_VoltageCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
std::vector<vxttools::CCandidate> g_NbVoltageCandidates(const vxttools::CTool& rTool, const std::string& sBegun);

/// "NAME=" of each setting that can be written; behind that "NAME=VALUE" for each legal value.
std::vector<vxttools::CCandidate> g_MemorySettingCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
std::vector<vxttools::CCandidate> g_LinkSettingCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
std::vector<vxttools::CCandidate> g_ClockSettingCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
std::vector<vxttools::CCandidate> g_FanCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
std::vector<vxttools::CCandidate> g_VoltageSettingCandidates(const vxttools::CTool& rTool, const std::string& sBegun);

}  // namespace vxtctl
