// Named kernel objects shared by processes. A name beginning with "Global\" is one object for all sessions of the computer.
// An object goes with its last handle, in whichever process; a process that ends closes its own. Units of a semaphore that it
// took are lost then until the object goes; a mutex passes on as abandoned.
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

/// Full access. kErrorFileNotFound: it does not exist; kErrorAccessDenied: its security descriptor refuses this user.
CSemaphoreHandle OpenSemaphore(const wchar_t* pszName);
/// Creates it, or opens it with full access when another process was faster: counts and security are that one's then.
/// `pszSddl` is its security descriptor in the system's text form.
CSemaphoreHandle CreateSemaphore(const wchar_t* pszName, int32_t nInitial, int32_t nMaximum, const wchar_t* pszSddl);
/// Takes one unit, blocking for so long at most; answers kWaitObject0, kWaitTimeout or kWaitFailed.
uint32_t WaitSemaphore(const CSemaphoreHandle& rSemaphore, uint32_t uMilliseconds);
/// Gives one unit back, taken by whatever thread; `rnPrevious` is the count before. False when the maximum is reached.
bool ReleaseSemaphore(const CSemaphoreHandle& rSemaphore, int32_t& rnPrevious);

/// As OpenSemaphore.
CMutexHandle OpenMutex(const wchar_t* pszName);
/// Creates it without owning it, or opens it when another process was faster.
CMutexHandle CreateMutex(const wchar_t* pszName, const wchar_t* pszSddl);
/// Takes it for the calling thread, which may hold it already (each taking wants its release), blocking for so long at most;
/// answers one of the kWait values. The mutex is the thread's after kWaitObject0 and kWaitAbandoned.
uint32_t WaitMutex(const CMutexHandle& rMutex, uint32_t uMilliseconds);
/// By the thread that took it; false when the calling thread does not hold it.
bool ReleaseMutex(const CMutexHandle& rMutex);

}  // namespace vxt::platform
