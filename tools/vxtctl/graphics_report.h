// Graphics processors whose driver answers.
#pragma once

#include "common/findings.h"
#include "host_library.h"

namespace vxtctl {

/// The array "graphics", empty where there are none, and a table. An engine clock that could not be read is a finding.
void g_AddGraphics(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings,
                   bool bSerials = true);

}  // namespace vxtctl
