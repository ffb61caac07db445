// What could not be read: part of the answer, a remark each, and the reason for an exit code of its own.
#pragma once

#include "common/command.h"

namespace vxttools {

using CFindings = std::vector<std::string>;

/// Emits the document with the array "findings". Returns how the command ends.
EExit g_EmitWithFindings(CTool& rTool, CDocument& rDocument, const CFindings& rFindings);

}  // namespace vxttools
