// What shell completion offers as values, read off the machine as the listing commands do.
#pragma once

#include "common/command.h"

namespace vxtdiag {

/// "00:18.3" of each PCI function.
std::vector<vxttools::CCandidate> g_PciCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
/// Signatures of ACPI tables.
std::vector<vxttools::CCandidate> g_AcpiCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
/// Numbers of cores.
std::vector<vxttools::CCandidate> g_CoreCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
/// IDs of firmware objects.
std::vector<vxttools::CCandidate> g_ObjectCandidates(const vxttools::CTool& rTool, const std::string& sBegun);
/// "ITEM=" of each setup item, by its number where its name does not tell it; behind that "ITEM=OPTION".
std::vector<vxttools::CCandidate> g_SetupCandidates(const vxttools::CTool& rTool, const std::string& sBegun);

}  // namespace vxtdiag
