// The scripts that let shells complete a tool's command lines: each hands the line to the tool itself.
#pragma once

#include <string>

namespace vxttools {

/// `sShell`: bash, zsh or fish.
std::string g_CompletionScript(const std::string& sShell, const std::string& sTool);

}  // namespace vxttools
