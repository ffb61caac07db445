// Physical memory through the system's section object, without a driver. Reasons of failures are not told.
#pragma once

#include "platform/owned_handle.h"

namespace vxt::platform {

void UnmapPhysicalSection(uintptr_t uAddress);
/// The handle is the address of the view's first byte; reading is good on every thread while the owner lives.
using CPhysicalView = COwnedHandle<UnmapPhysicalSection>;

/// A read-only view of `uSize` bytes from `ullPhysical` (a multiple of the page size). None where the section cannot be
/// opened (systems since 2003 keep it from programs) or mapped.
CPhysicalView MapPhysicalSection(uint64_t ullPhysical, uint32_t uSize);

}  // namespace vxt::platform
