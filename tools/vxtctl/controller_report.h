// SATA, IDE and USB controllers with what is attached to them.
#pragma once

#include "common/findings.h"
#include "host_library.h"

namespace vxtctl {

/// The array "controllers", empty where there are none, and a table of them with a tree each.
void g_AddControllers(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings,
                      bool bSerials = true);

}  // namespace vxtctl
