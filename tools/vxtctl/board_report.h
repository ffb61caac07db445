// The main board and its firmware: who made them, and when.
#pragma once

#include "common/findings.h"
#include "host_library.h"

namespace vxtctl {

/// The array "boards", empty where there are none, and a table.
void g_AddBoards(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings,
                 bool bSerials = true);

/// The array "bios", empty where the system does not tell, and a table.
void g_AddBios(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings,
               bool bSerials = true);

}  // namespace vxtctl
