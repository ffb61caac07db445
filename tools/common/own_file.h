// Files that a tool makes and may replace, but only its own.
#pragma once

#include <string>
#include <string_view>

namespace vxttools {

/// Ends the command when the file could not be written there, or when what is in its place has no `sMark` near its
/// beginning: it is not `sKind`, "SVG picture", and stays. An empty file may be replaced.
void g_CheckOwnFile(const std::string& sFile, std::string_view sMark, const std::string& sKind);

}  // namespace vxttools
