// The monitors with their modes.
#pragma once

#include "common/findings.h"
#include "host_library.h"

namespace vxtctl {

/// The array "monitors", empty where there are none, and tables. A broken EDID is a finding.
void g_AddMonitors(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings,
                   bool bSerials = true);

}  // namespace vxtctl
