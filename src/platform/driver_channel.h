// The open kernel-driver device and its device-control calls.
#pragma once

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseDriver(uintptr_t uHandle);
using CDriverChannel = COwnedHandle<CloseDriver>;

/// Opens an existing device for reading and writing, shared.
CDriverChannel OpenDriver(const wchar_t* pszDevice);

/// One device-control call. `pOut` may be `pIn` (the driver copies buffers). `ruReturned` is the count of bytes the
/// driver returned, 0 on failure.
bool ControlDriver(const CDriverChannel& rChannel, uint32_t uCode, const void* pIn, uint32_t uInSize, void* pOut,
                   uint32_t uOutSize, uint32_t& ruReturned);

}  // namespace vxt::platform
