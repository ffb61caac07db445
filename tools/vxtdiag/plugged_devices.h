// The devices of the system's device tree, and what monitors and drives say of themselves.
#pragma once

#include "snapshot.h"

namespace vxtdiag {

/// Those of the kinds that the library knows. Drives need the management service.
void g_ReadPluggedDevices(CSnapshot& rSnapshot);

}  // namespace vxtdiag
