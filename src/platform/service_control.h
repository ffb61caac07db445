// The service control manager, as far as a kernel-driver service needs it.
#pragma once

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseServiceHandle(uintptr_t uHandle);
using CServiceHandle = COwnedHandle<CloseServiceHandle>;

// Each call is one request to the manager's process and blocks until that has answered. A service handle is good on every
// thread and in any state of the service, a deleted one included.

/// Full access. kErrorAccessDenied: the user is no administrator.
CServiceHandle OpenServiceManager();

/// Full access. kErrorServiceDoesNotExist; a deleted service can be opened until it is gone.
CServiceHandle OpenService(const CServiceHandle& rManager, const wchar_t* pszName);

/// A kernel-driver service: started on demand, normal error control, no group, dependencies or account; the display name is
/// the name. `pszPath` is the driver's file, taken whole (no quotes) and not looked at before the start.
/// kErrorServiceExists; kErrorServiceMarkedForDelete: an earlier one is deleted but not gone.
CServiceHandle CreateDriverService(const CServiceHandle& rManager, const wchar_t* pszName, const wchar_t* pszPath);

/// Loads the driver and blocks until its entry point has returned; what that returns becomes the error code.
/// kErrorServiceAlreadyRunning, also while it is stopping; kErrorServiceMarkedForDelete; kErrorFileNotFound.
bool StartService(const CServiceHandle& rService);

/// Asks the driver to unload. True means accepted: it may still be stopping, and does so for as long as anybody has its
/// device open. kErrorServiceNotActive: it has stopped; kErrorServiceCannotAcceptControl: it is starting or stopping.
bool StopService(const CServiceHandle& rService);

/// Marks it for deletion: it goes when it has stopped and its last handle is closed, in whichever process.
/// kErrorServiceMarkedForDelete: it was marked before.
bool DeleteService(const CServiceHandle& rService);

inline constexpr uint32_t kServiceStopped = 1, kServiceStartPending = 2, kServiceStopPending = 3, kServiceRunning = 4;
/// The service's present state. A driver that somebody has open stays in kServiceStopPending.
bool QueryServiceStatus(const CServiceHandle& rService, uint32_t& ruState);

}  // namespace vxt::platform
