#include "api/engine.h"

#include "api/log/log.h"
#include "api/log/log_checks.h"
#include "devices/cpu/processor_tables.h"
#include "firmware/acpi_table.h"
#include "firmware/bios_command.h"
#include "firmware/bios_handler.h"
#include "firmware/cmos_items.h"
#include "hw/driver_handler.h"
#include "registers/scope_exit.h"

namespace vxt {

// Each step has a line of its own: the line number in the log names it.
bool g_InitEngine() {
    CScopeExit ShutDown([] { g_UnInitEngine(); });
    bool bRetCode = g_GetDriverHandler().Init(g_GetACPITable());
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = g_GetSystemWmi().Connect(kSystemNamespace);
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = g_GetFirmwareWmi().Connect(kFirmwareNamespace);
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = g_GetQORBIOSHandler().Connect(kFirmwareNamespace);
    LOG_PROCESS_ERROR(bRetCode);
    ShutDown.Dismiss();
    bRetCode = g_GetQORBIOS().Init();
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = g_GetQORBIOSHandler().Init();
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = g_GetCMOSItemList().Init();
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = g_GetBIOSMiscInfo().Init();
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = g_InitProcessorTables();
    LOG_CHECK_ERROR(bRetCode);
    g_GetLog().WriteLog(kLogInformation, "Engine library initialized successfully.");
    return true;
}

// A step that belongs to the graphics processor's register tool comes with it.
bool g_UnInitEngine() {
    bool bRetCode = g_GetCMOSItemList().UnInit();
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = g_GetDriverHandler().UnInit();
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = g_GetSystemWmi().Disconnect();
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = g_GetFirmwareWmi().Disconnect();
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = g_GetQORBIOSHandler().Disconnect();
    LOG_CHECK_ERROR(bRetCode);
    return true;
}

}  // namespace vxt
