// The firmware's ACPI tables.
#pragma once

#include "common/document.h"

namespace vxtdiag {

/// The array "tables": all of them, or the one with that signature and its bytes. Ends the command when there is none.
void g_AddAcpiTables(vxttools::CDocument& rDocument, const std::string& sSignature);

/// A table's key as text.
std::string g_Signature(uint32_t uKey);

}  // namespace vxtdiag
