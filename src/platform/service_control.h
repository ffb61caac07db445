// The service control manager, as far as a kernel-driver service needs it.
#pragma once

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseServiceHandle(uintptr_t uHandle);
using CServiceHandle = COwnedHandle<CloseServiceHandle>;

// Each call is one system call; after a failure LastError tells why.
CServiceHandle OpenServiceManager();                                                 ///< full access
CServiceHandle OpenService(const CServiceHandle& rManager, const wchar_t* pszName);  ///< full access
/// A kernel-driver service: started on demand, normal error control, no group, dependencies or account.
CServiceHandle CreateDriverService(const CServiceHandle& rManager, const wchar_t* pszName, const wchar_t* pszPath);
bool StartService(const CServiceHandle& rService);
bool StopService(const CServiceHandle& rService);
bool DeleteService(const CServiceHandle& rService);

inline constexpr uint32_t kServiceStopped = 1, kServiceStartPending = 2, kServiceStopPending = 3, kServiceRunning = 4;
/// The service's present state. A driver that somebody has open stays in kServiceStopPending.
bool QueryServiceStatus(const CServiceHandle& rService, uint32_t& ruState);

}  // namespace vxt::platform
