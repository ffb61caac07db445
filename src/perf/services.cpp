#include "devices/device_list.h"
#include "perf/performance_control.h"
#include "perf/profile_settings.h"

namespace vxt {

CPerformanceControl& g_GetPerformanceControl() {
    static CPerformanceControl s_PerformanceControl;
    return s_PerformanceControl;
}

CProfileSettgins& g_GetProfileSettings() {
    static CProfileSettgins s_ProfileSettings(g_GetDeviceManager());
    return s_ProfileSettings;
}

}  // namespace vxt
