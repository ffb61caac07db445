// Named kernel objects shared by processes.
#pragma once

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseNamedObject(uintptr_t uHandle);
using CSemaphoreHandle = COwnedHandle<CloseNamedObject>;
using CMutexHandle = COwnedHandle<CloseNamedObject>;

inline constexpr uint32_t kWaitObject0 = 0;
inline constexpr uint32_t kWaitAbandoned = 128;  ///< the mutex is ours: its owner ended without releasing it
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

/// Full access; none when it does not exist.
CMutexHandle OpenMutex(const wchar_t* pszName);
/// Creates it without owning it, or opens it when another process was faster.
CMutexHandle CreateMutex(const wchar_t* pszName, const wchar_t* pszSddl);
/// Takes it for the calling thread, which may hold it already; answers one of the kWait values.
uint32_t WaitMutex(const CMutexHandle& rMutex, uint32_t uMilliseconds);
/// False when the calling thread does not hold it.
bool ReleaseMutex(const CMutexHandle& rMutex);

}  // namespace vxt::platform
