// What could not be read: part of the answer, a remark each, and the reason for an exit code of its own.
#pragma once

#include "common/command.h"

namespace vxttools {

/// Why a reading that should be there is not.
inline constexpr const char* kNotRead = "it could not be read";

using CFindings = std::vector<std::string>;

/// Takes what was read, or says why there is nothing. A reading that should be there and is not is a finding;
/// `pszWhenZero` is why an answer of 0 is none: null where nothing but a failure gives it.
void g_TakeReading(CQuantity& rQuantity, double dRaw, const CPlausible& rPlausible, const char* pszWhenZero,
                   CFindings& rFindings);

/// Emits the document with the array "findings". Returns how the command ends.
EExit g_EmitWithFindings(CTool& rTool, CDocument& rDocument, const CFindings& rFindings);

}  // namespace vxttools
