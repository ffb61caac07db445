// Named kernel objects shared by processes.
#pragma once

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseNamedObject(uintptr_t uHandle);
using CSemaphoreHandle = COwnedHandle<CloseNamedObject>;

inline constexpr uint32_t kWaitObject0 = 0;
inline constexpr uint32_t kWaitTimeout = 258;
inline constexpr uint32_t kWaitFailed = 0xFFFFFFFF;

/// Full access; none when it does not exist.
CSemaphoreHandle OpenSemaphore(const wchar_t* pszName);
/// Creates it, or opens it when another process was faster. `pszSddl` is its security descriptor.
CSemaphoreHandle CreateSemaphore(const wchar_t* pszName, int32_t nInitial, int32_t nMaximum, const wchar_t* pszSddl);
/// Takes one unit; answers one of the kWait values.
uint32_t WaitSemaphore(const CSemaphoreHandle& rSemaphore, uint32_t uMilliseconds);
/// Gives one unit back; `rnPrevious` is the count before.
bool ReleaseSemaphore(const CSemaphoreHandle& rSemaphore, int32_t& rnPrevious);

}  // namespace vxt::platform
