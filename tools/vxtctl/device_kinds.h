// The kinds of devices that have more to tell than the inventory shows.
#pragma once

#include "board_report.h"
#include "controller_report.h"
#include "drive_report.h"
#include "graphics_report.h"
#include "input_report.h"
#include "module_report.h"
#include "monitor_report.h"

namespace vxtctl {

struct CDeviceKind {
    const char* pszKey;    ///< of the answer's array
    const char* pszTitle;  ///< of a report's section
    void (*pAdd)(vxttools::CDocument&, const CHostLibrary&, vxttools::CFindings&, bool bSerials);
};
inline constexpr CDeviceKind kDeviceKinds[] = {
    {"modules", "Memory modules",
     [](vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings, bool bSerials) {
         g_AddModules(rDocument, rLibrary, rFindings, {.bSerials = bSerials});
     }},
    {"drives", "Disks and optical drives", g_AddDrives},
    {"graphics", "Graphics", g_AddGraphics},
    {"monitors", "Monitors", g_AddMonitors},
    {"controllers", "Controllers and what is attached", g_AddControllers},
    {"input_devices", "Keyboards and mice", g_AddInputDevices},
    {"boards", "Board", g_AddBoards},
    {"bios", "BIOS", g_AddBios},
};

}  // namespace vxtctl
