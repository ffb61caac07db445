// Start-up and shut-down of what lies below the devices: driver, firmware connections, tables.
#pragma once

namespace vxt {

/// On failure everything started so far is shut down again.
bool g_InitEngine();

/// Always true; each failed step is reported and the next one runs.
bool g_UnInitEngine();

}  // namespace vxt
