#include "platform/named_objects.h"

#include "platform/windows/windows_api.h"

namespace vxt::platform {

static_assert(kWaitObject0 == WAIT_OBJECT_0 && kWaitAbandoned == WAIT_ABANDONED);
static_assert(kWaitTimeout == WAIT_TIMEOUT && kWaitFailed == WAIT_FAILED);

namespace {

/// Runs `Create` with the security attributes that the text stands for.
template <class TCreate> uintptr_t g_CreateSecured(const wchar_t* pszSddl, TCreate Create) {
    SECURITY_ATTRIBUTES Security{sizeof(Security), nullptr, FALSE};
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(pszSddl, SDDL_REVISION_1, &Security.lpSecurityDescriptor,
                                                              nullptr))
        return 0;
    const HANDLE hObject = Create(&Security);
    const DWORD dwError = GetLastError();
    LocalFree(Security.lpSecurityDescriptor);  // the conversion allocates with LocalAlloc
    SetLastError(dwError);
    return g_FromHandle(hObject);
}

}  // namespace

void CloseNamedObject(uintptr_t uHandle) { CloseHandle(g_ToHandle(uHandle)); }

CSemaphoreHandle OpenSemaphore(const wchar_t* pszName) {
    return CSemaphoreHandle(g_FromHandle(OpenSemaphoreW(SEMAPHORE_ALL_ACCESS, FALSE, pszName)));
}

CSemaphoreHandle CreateSemaphore(const wchar_t* pszName, int32_t nInitial, int32_t nMaximum, const wchar_t* pszSddl) {
    return CSemaphoreHandle(g_CreateSecured(
        pszSddl, [&](auto* pSecurity) { return CreateSemaphoreW(pSecurity, nInitial, nMaximum, pszName); }));
}

uint32_t WaitSemaphore(const CSemaphoreHandle& rSemaphore, uint32_t uMilliseconds) {
    return WaitForSingleObject(g_ToHandle(rSemaphore.Get()), uMilliseconds);
}

bool ReleaseSemaphore(const CSemaphoreHandle& rSemaphore, int32_t& rnPrevious) {
    LONG lPrevious = 0;
    if (!::ReleaseSemaphore(g_ToHandle(rSemaphore.Get()), 1, &lPrevious)) return false;
    rnPrevious = lPrevious;
    return true;
}

CMutexHandle OpenMutex(const wchar_t* pszName) {
    return CMutexHandle(g_FromHandle(OpenMutexW(MUTEX_ALL_ACCESS, FALSE, pszName)));
}

CMutexHandle CreateMutex(const wchar_t* pszName, const wchar_t* pszSddl) {
    return CMutexHandle(
        g_CreateSecured(pszSddl, [&](auto* pSecurity) { return CreateMutexW(pSecurity, FALSE, pszName); }));
}

uint32_t WaitMutex(const CMutexHandle& rMutex, uint32_t uMilliseconds) {
    return WaitForSingleObject(g_ToHandle(rMutex.Get()), uMilliseconds);
}

bool ReleaseMutex(const CMutexHandle& rMutex) { return ::ReleaseMutex(g_ToHandle(rMutex.Get())) != 0; }

}  // namespace vxt::platform
