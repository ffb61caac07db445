#include "api/engine.h"

#include "api/log/log.h"
#include "api/log/log_checks.h"
#include "devices/cpu/processor_tables.h"
#include "firmware/acpi_table.h"
#include "hw/driver_handler.h"
#include "hw/scope_exit.h"

namespace vxt {

namespace {

/// A step of a sequence: what it is, and how it is taken.
struct CStep {
    const char* pszName;
    bool (*pRun)();
};

/// Stands where a service joins the sequence once it is built.
constexpr bool g_NotBuiltYet() { return true; }

constexpr CStep kRequiredSteps[] = {
    {"driver handler", [] { return g_GetDriverHandler().Init(g_GetACPITable()); }},
    {"system WMI connection, root\\cimv2", g_NotBuiltYet},
    {"firmware WMI connection, root\\wmi", g_NotBuiltYet},
    {"BIOS handler's WMI connection, root\\wmi", g_NotBuiltYet},
};
constexpr CStep kBestEffortSteps[] = {
    {"BIOS command object", g_NotBuiltYet},
    {"BIOS command handler", g_NotBuiltYet},
    {"CMOS item list", g_NotBuiltYet},
    {"BIOS miscellaneous information", g_NotBuiltYet},
    {"processor revision and socket tables", g_InitProcessorTables},
};
constexpr CStep kShutDownSteps[] = {
    {"place holder", [] { return true; }},
    {"CMOS item list", g_NotBuiltYet},
    {"place holder", [] { return true; }},
    {"driver handler", [] { return g_GetDriverHandler().UnInit(); }},
    {"system WMI connection", g_NotBuiltYet},
    {"firmware WMI connection", g_NotBuiltYet},
    {"BIOS handler's WMI connection", g_NotBuiltYet},
    {"GPU register tool's physical mapping", g_NotBuiltYet},
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
