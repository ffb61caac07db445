#include "api/engine.h"

#include "api/log/log.h"
#include "api/log/log_checks.h"
#include "devices/cpu/processor_tables.h"
#include "firmware/acpi_table.h"
#include "firmware/bios_command.h"
#include "firmware/bios_handler.h"
#include "firmware/cmos_items.h"
#include "hw/driver_handler.h"
#include "hw/scope_exit.h"

namespace vxt {

namespace {

/// A step of a sequence: what it is, and how it is taken.
struct CStep {
    const char* pszName;
    bool (*pRun)();
};

constexpr CStep kRequiredSteps[] = {
    {"driver handler", [] { return g_GetDriverHandler().Init(g_GetACPITable()); }},
    {"system WMI connection", [] { return g_GetSystemWmi().Connect(kSystemNamespace); }},
    {"firmware WMI connection", [] { return g_GetFirmwareWmi().Connect(kFirmwareNamespace); }},
    {"BIOS handler's WMI connection", [] { return g_GetQORBIOSHandler().Connect(kFirmwareNamespace); }},
};
constexpr CStep kBestEffortSteps[] = {
    {"BIOS command object", [] { return g_GetQORBIOS().Init(); }},
    {"BIOS command handler", [] { return g_GetQORBIOSHandler().Init(); }},
    {"CMOS item list", [] { return g_GetCMOSItemList().Init(); }},
    {"BIOS miscellaneous information", [] { return g_GetBIOSMiscInfo().Init(); }},
    {"processor revision and socket tables", g_InitProcessorTables},
};
constexpr CStep kShutDownSteps[] = {
    {"place holder", [] { return true; }},
    {"CMOS item list", [] { return g_GetCMOSItemList().UnInit(); }},
    {"place holder", [] { return true; }},
    {"driver handler", [] { return g_GetDriverHandler().UnInit(); }},
    {"system WMI connection", [] { return g_GetSystemWmi().Disconnect(); }},
    {"firmware WMI connection", [] { return g_GetFirmwareWmi().Disconnect(); }},
    {"BIOS handler's WMI connection", [] { return g_GetQORBIOSHandler().Disconnect(); }},
    {"GPU register tool's physical mapping", [] { return true; }},  // there is no such tool yet, so no mapping either
};

}  // namespace

bool g_InitEngine() {
    CScopeExit ShutDown([] { g_UnInitEngine(); });
    for (const CStep& rStep : kRequiredSteps) {
        const bool bRetCode = rStep.pRun();
        LOG_PROCESS_ERROR(bRetCode);
    }
    ShutDown.Dismiss();
    for (const CStep& rStep : kBestEffortSteps) {
        const bool bRetCode = rStep.pRun();
        LOG_CHECK_ERROR(bRetCode);
    }
    g_GetLog().WriteLog(kLogInformation, "Engine library initialized successfully.");
    return true;
}

bool g_UnInitEngine() {
    for (const CStep& rStep : kShutDownSteps) {
        const bool bRetCode = rStep.pRun();
        LOG_CHECK_ERROR(bRetCode);
    }
    return true;
}

}  // namespace vxt
