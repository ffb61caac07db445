// Keyboards and mice.
#pragma once

#include "common/findings.h"
#include "host_library.h"

namespace vxtctl {

/// The array "input_devices", empty where there are none, and a table.
void g_AddInputDevices(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings,
                       bool bSerials = true);

}  // namespace vxtctl
