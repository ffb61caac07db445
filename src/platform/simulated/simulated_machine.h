// The machine that this process runs on.
#pragma once

#include "sim/machine.h"

namespace vxt::platform::simulated {

/// Chosen by the environment variable VXT_MACHINE (the name of an embedded machine or the path of a machine file,
/// "family10h-ddr3" without it) at the first call. A file that cannot be used is reported on stderr; then there is a
/// machine without hardware and `g_HasMachine` says false.
vxtsim::CSimMachine& g_GetMachine();
bool g_HasMachine();

/// Switches the machine on anew with another description. Only while nobody uses the old one.
void g_UseMachine(vxtsim::CMachineDescription Description);

}  // namespace vxt::platform::simulated
