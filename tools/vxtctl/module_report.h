// The memory modules: what they say of themselves, and the clocks and timings that they are made for.
#pragma once

#include "common/findings.h"
#include "host_library.h"

namespace vxtctl {

struct CModuleView {
    bool bRaw =
        false;  ///< with the 256 bytes as they are, in text as sections of a machine file, the rest as its remarks
    size_t uWidth = vxttools::kUnlimited;  ///< of a line of those remarks
    bool bSerials = true;
};

/// The array "modules", empty where there are none, and tables. A module whose data are not to be trusted is a finding.
void g_AddModules(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings,
                  const CModuleView& rView = {});

}  // namespace vxtctl
