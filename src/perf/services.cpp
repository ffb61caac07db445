#include "bench/benchmark_center.h"
#include "bench/test_center.h"
#include "devices/device_list.h"
#include "perf/config_parser.h"
#include "perf/performance_control.h"
#include "perf/profile_settings.h"
#include "perf/system_tune.h"

namespace vxt {

CPerformanceControl& g_GetPerformanceControl() {
    static CPerformanceControl s_PerformanceControl(g_GetBenchmarkCenter(), g_GetTestCenter(), g_GetSystemTune(),
                                                    g_GetDeviceManager());
    return s_PerformanceControl;
}

CSystemTune& g_GetSystemTune() {
    static CSystemTune s_SystemTune(g_GetDeviceManager(), g_GetTestCenter(), g_GetConfigParser);
    return s_SystemTune;
}

CProfileSettgins& g_GetProfileSettings() {
    static CProfileSettgins s_ProfileSettings(g_GetDeviceManager());
    return s_ProfileSettings;
}

}  // namespace vxt
