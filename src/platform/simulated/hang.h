// The end of a process whose PC has hung.
#pragma once

namespace vxt::platform::simulated {

/// Nothing while the PC works. Once it hangs the process ends where it stands, with vxtsim::kHungStatus and one line on
/// stderr: no destructors, no output that still waits, no signal handlers. Of the PC its disk remains: a state file tells of one
/// that was switched on anew, with the registry of now. Called whenever virtual time has passed; any thread.
void g_EndIfHung();

}  // namespace vxt::platform::simulated
