// The machine that this process runs on.
#pragma once

#include "sim/machine.h"

namespace vxt::platform::simulated {

/// Chosen at the first call by two environment variables: VXT_MACHINE is the name of an embedded machine or the path of a
/// machine file ("family10h-ddr3" without it), VXT_STATE a file in which the machine's state is kept from one process to
/// the next (without it nothing is kept). If they cannot be used there is a machine without hardware.
vxtsim::CSimMachine& g_GetMachine();

/// One line that says why the machine cannot be used or its state could not be kept; null while all is well. The text
/// never changes and lives as long as the process.
const char* g_MachineError();

/// Brings the state file up to date with the machine: after everything that may have written to it. True without one. On
/// failure the first reason is left for g_MachineError, and on stderr.
bool g_KeepState();

/// Brings it to what is left when the machine hangs, see vxtsim::CMachineState::Reset. Failure goes to stderr.
void g_ResetState();

/// Switches the machine on anew with another description, of which nothing is kept. Only while nobody uses the old one.
void g_UseMachine(vxtsim::CMachineDescription Description);
/// Likewise with what the two variables would say; empty: nothing.
void g_UseMachine(const std::string& sMachine, const std::string& sState);

}  // namespace vxt::platform::simulated
