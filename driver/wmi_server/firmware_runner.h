// The firmware that the server speaks for.
#pragma once

#include "simulated/firmware_call.h"

namespace vxtwmi {

/// Runs a method of the board's firmware, or asks for instances: in the PC inside the driver as long as that runs, so that the two are one
/// machine; else in this process's own, which VXT_MACHINE and VXT_STATE name. Any thread may call.
vxtdriver::CFirmwareReply g_RunFirmware(const vxtdriver::CFirmwareCall& rCall);

/// From now on always this process's own.
void g_LeaveDriverAlone();

}  // namespace vxtwmi
