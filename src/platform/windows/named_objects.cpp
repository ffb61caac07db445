#include "platform/named_objects.h"

#include "platform/windows/windows_api.h"

namespace vxt::platform {

static_assert(kWaitObject0 == WAIT_OBJECT_0 && kWaitTimeout == WAIT_TIMEOUT && kWaitFailed == WAIT_FAILED);

void CloseNamedObject(uintptr_t uHandle) { CloseHandle(g_ToHandle(uHandle)); }

CSemaphoreHandle OpenSemaphore(const wchar_t* pszName) {
    return CSemaphoreHandle(g_FromHandle(OpenSemaphoreW(SEMAPHORE_ALL_ACCESS, FALSE, pszName)));
}

CSemaphoreHandle CreateSemaphore(const wchar_t* pszName, int32_t nInitial, int32_t nMaximum, const wchar_t* pszSddl) {
    SECURITY_ATTRIBUTES Security{sizeof(Security), nullptr, FALSE};
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(pszSddl, SDDL_REVISION_1, &Security.lpSecurityDescriptor,
                                                              nullptr))
        return {};
    const HANDLE hSemaphore = CreateSemaphoreW(&Security, nInitial, nMaximum, pszName);
    const DWORD dwError = GetLastError();
    LocalFree(Security.lpSecurityDescriptor);  // the conversion allocates with LocalAlloc
    SetLastError(dwError);
    return CSemaphoreHandle(g_FromHandle(hSemaphore));
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

}  // namespace vxt::platform
