// The eight exports: they start, stop and hand out the process-wide objects, and own nothing else.
#include <vxtapi/vxtapi.h>

#include "api/engine.h"
#include "api/log/log.h"
#include "api/log/log_checks.h"
#include "devices/device_list.h"
#include "firmware/acpi_table.h"
#include "firmware/bios_handler.h"
#include "firmware/cmos_items.h"
#include "hw/driver_handler.h"
#include "perf/performance_control.h"
#include "perf/profile_settings.h"
#include "platform/registry.h"

namespace {

constexpr const char* kLogName = "VXTAPI";
constexpr uint32_t kAllLevels = 65535;
constexpr uint32_t kLinesPerFile = 10000;

constexpr const wchar_t* kUserKey = L"Software\\QOR\\QOR Velomar";
constexpr const wchar_t* kWarningValue = L"UserAccepted";
constexpr uint32_t kAccepted = 1;

/// Makes every process-wide object exist from load to unload. The log comes first, so that it outlives the others.
[[maybe_unused]] const bool s_bConstructed = [] {
    vxt::g_GetLog();
    vxt::g_GetDriverHandler();
    vxt::g_GetACPITable();
    vxt::g_GetSystemWmi();
    vxt::g_GetQORBIOSHandler();
    vxt::g_GetCMOSItemList();  // with the firmware connection and the command object below it
    vxt::g_GetBIOSMiscInfo();
    vxt::g_GetDeviceManager();
    vxt::g_GetPerformanceControl();
    vxt::g_GetProfileSettings();
    return true;
}();

bool s_bInitialized = false;  // Kept: never cleared; after shut-down the answer comes from an empty device list

}  // namespace

bool InitVXTAPI(bool bEnableLog) {
    bool bRetCode = !bEnableLog || vxt::g_GetLog().Init(kLogName, kAllLevels, vxt::CLog::kToFile, kLinesPerFile);
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = vxt::g_InitEngine();
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = vxt::g_GetDeviceManager().Init(nullptr);
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = vxt::g_GetPerformanceControl().Initialize();
    LOG_PROCESS_ERROR(bRetCode);
    s_bInitialized = true;
    return true;
}

bool UnInitVXTAPI() {
    bool bRetCode = vxt::g_GetPerformanceControl().Uninitialize();
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = vxt::g_GetDeviceManager().UnInit();
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = vxt::g_UnInitEngine();
    LOG_CHECK_ERROR(bRetCode);
    bRetCode = vxt::g_GetLog().UnInit();
    LOG_CHECK_ERROR(bRetCode);
    return true;
}

vxtapi::CDeviceManager* GetDeviceManager() { return &vxt::g_GetDeviceManager(); }

vxtapi::CPerformanceControl* GetPerformanceControl() { return &vxt::g_GetPerformanceControl(); }

vxtapi::CLog* GetLog() { return &vxt::g_GetLog(); }

vxtapi::CProfileSettgins* GetProfileSettings() { return &vxt::g_GetProfileSettings(); }

bool IsBiosOCSupported(bool* pbSupported) {
    if (!s_bInitialized || !pbSupported) return false;
    *pbSupported = vxt::g_GetDeviceManager().GetDevice(vxtapi::kDeviceClockGen, 0) != nullptr;
    return true;
}

bool IsOverclockWarningAccepted() {
    const vxt::platform::CRegistryKey hKey = vxt::platform::OpenUserKey(kUserKey);
    if (!hKey) return false;
    uint32_t uAccepted = 0;
    vxt::platform::QueryRegistryValue(hKey, kWarningValue, std::as_writable_bytes(std::span(&uAccepted, 1)));
    return uAccepted == kAccepted;
}
