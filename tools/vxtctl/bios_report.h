// Who made the firmware, and when.
#pragma once

#include "common/document.h"
#include "host_library.h"

namespace vxtctl {

/// The array "bios". Ends the command when the machine shows no BIOS device.
void g_AddBios(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary);

}  // namespace vxtctl
