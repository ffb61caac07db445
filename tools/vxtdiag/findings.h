// What could not be read: part of the answer, a remark each, and the reason for an exit code of its own.
#pragma once

#include "common/command.h"

namespace vxtdiag {

using CFindings = std::vector<std::string>;

/// Emits the document with the array "findings". Returns how the command ends.
vxttools::EExit g_EmitWithFindings(vxttools::CTool& rTool, vxttools::CDocument& rDocument, const CFindings& rFindings);

}  // namespace vxtdiag
