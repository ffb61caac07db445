// The open kernel-driver device and its device-control calls.
#pragma once

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseDriver(uintptr_t uHandle);
using CDriverChannel = COwnedHandle<CloseDriver>;

/// Opens an existing device for reading and writing, shared. Blocks while the driver works on its open request.
/// kErrorFileNotFound: no such device, the driver is not running; kErrorAccessDenied: it runs, but not for this user.
CDriverChannel OpenDriver(const wchar_t* pszDevice);

/// One device-control call; blocks until the driver has answered, however long that takes. Threads may send at a time; the
/// driver sees the calling thread's affinity. `pOut` may be `pIn` (requests are buffered: the driver works on a copy).
/// `ruReturned` is the count of bytes the driver returned, 0 on failure; `pOut` is undefined then. Error codes are the
/// driver's; kErrorInvalidHandle: closed or empty channel.
bool ControlDriver(const CDriverChannel& rChannel, uint32_t uCode, const void* pIn, uint32_t uInSize, void* pOut,
                   uint32_t uOutSize, uint32_t& ruReturned);

}  // namespace vxt::platform
