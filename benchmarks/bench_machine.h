// A simulated PC to measure on.
#pragma once

#include <cstdio>

#include "firmware/acpi_table.h"
#include "firmware/bios_handler.h"
#include "hw/driver_handler.h"
#include "platform/simulated/simulated_system.h"

namespace vxtbench {

using namespace vxt::platform::simulated;

/// A machine, as a new process finds it.
inline void SwitchOn(const char* pszMachine = vxtsim::kDefaultMachine) {
    vxt::g_GetDriverHandler().UnInit();
    vxt::g_GetFirmwareWmi().Disconnect();
    vxt::g_GetQORBIOSHandler().Disconnect();
    vxt::g_GetACPITable().Clear();
    vxtsim::CMachineDescription Description;
    std::string sError;
    if (!vxtsim::g_LoadMachine(pszMachine, Description, sError)) std::fprintf(stderr, "%s\n", sError.c_str());
    g_Restart(std::move(Description));
}

}  // namespace vxtbench
