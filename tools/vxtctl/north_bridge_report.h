// The chipset's side of the processor's first link.
#pragma once

#include "common/findings.h"
#include "host_library.h"

namespace vxtctl {

/// What "northbridge" shows. Ends the command when the machine has no north bridge that the library knows.
void g_AddNorthBridge(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings);

}  // namespace vxtctl
