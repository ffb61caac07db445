#include "platform/service_control.h"

#include "platform/windows/windows_api.h"

namespace vxt::platform {

namespace {

SC_HANDLE g_Handle(const CServiceHandle& rHandle) { return g_ToHandle<SC_HANDLE>(rHandle.Get()); }
CServiceHandle g_Own(SC_HANDLE hService) { return CServiceHandle(reinterpret_cast<uintptr_t>(hService)); }

}  // namespace

void CloseServiceHandle(uintptr_t uHandle) { ::CloseServiceHandle(g_ToHandle<SC_HANDLE>(uHandle)); }

CServiceHandle OpenServiceManager() { return g_Own(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)); }

CServiceHandle OpenService(const CServiceHandle& rManager, const wchar_t* pszName) {
    return g_Own(OpenServiceW(g_Handle(rManager), pszName, SERVICE_ALL_ACCESS));
}

CServiceHandle CreateDriverService(const CServiceHandle& rManager, const wchar_t* pszName, const wchar_t* pszPath) {
    // A driver's path is taken whole, blanks included: quotes are for programs only.
    return g_Own(CreateServiceW(g_Handle(rManager), pszName, pszName, SERVICE_ALL_ACCESS, SERVICE_KERNEL_DRIVER,
                                SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, pszPath, nullptr, nullptr, nullptr, nullptr,
                                nullptr));
}

bool StartService(const CServiceHandle& rService) { return StartServiceW(g_Handle(rService), 0, nullptr) != 0; }

bool StopService(const CServiceHandle& rService) {
    SERVICE_STATUS Status{};  // not optional for ControlService
    return ControlService(g_Handle(rService), SERVICE_CONTROL_STOP, &Status) != 0;
}

// The service goes when the last handle to it is closed and it has stopped.
bool DeleteService(const CServiceHandle& rService) { return ::DeleteService(g_Handle(rService)) != 0; }

static_assert(kServiceStopped == SERVICE_STOPPED && kServiceStartPending == SERVICE_START_PENDING &&
              kServiceStopPending == SERVICE_STOP_PENDING && kServiceRunning == SERVICE_RUNNING);

bool QueryServiceStatus(const CServiceHandle& rService, uint32_t& ruState) {
    SERVICE_STATUS Status{};
    if (!::QueryServiceStatus(g_Handle(rService), &Status)) return false;
    ruState = Status.dwCurrentState;
    return true;
}

}  // namespace vxt::platform
