// Hard disks and optical drives.
#pragma once

#include "common/findings.h"
#include "host_library.h"

namespace vxtctl {

/// The array "drives", empty where there are none, and tables. A drive whose IDENTIFY data are broken is a finding.
void g_AddDrives(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings,
                 bool bSerials = true);

}  // namespace vxtctl
