// Sensor chips behind I/O ports, for a machine file.
#pragma once

#include "snapshot.h"

namespace vxtdiag {

/// Adds the south bridge's hardware monitor and power management, Super I/O chips with their monitors, and the fans that
/// turn. Needs the snapshot's PCI functions. Writes index registers, the keys that open and close a Super I/O chip's
/// configuration, and which logical device it shows, which is set back. The configuration is closed afterwards: whether it
/// was open before cannot be seen.
void g_ReadSensorChips(CSnapshot& rSnapshot);

}  // namespace vxtdiag
