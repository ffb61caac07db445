#include "bench/benchmark_center.h"
#include "bench/test_center.h"
#include "devices/device_list.h"
#include "perf/performance_control.h"
#include "perf/profile_settings.h"

namespace vxt {

CPerformanceControl& g_GetPerformanceControl() {
    static CPerformanceControl s_PerformanceControl(g_GetBenchmarkCenter(), g_GetTestCenter(), g_GetDeviceManager());
    return s_PerformanceControl;
}

CProfileSettgins& g_GetProfileSettings() {
    static CProfileSettgins s_ProfileSettings(g_GetDeviceManager());
    return s_ProfileSettings;
}

}  // namespace vxt
