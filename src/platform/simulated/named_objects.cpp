#include "platform/named_objects.h"

#include "platform/simulated/simulated_system.h"

namespace vxt::platform {

using simulated::CSimulatedSystem;
using simulated::g_GetSystem;
using EHandle = CSimulatedSystem::EHandle;

namespace {

CSimulatedSystem::CSemaphore* g_FindSemaphore(uintptr_t uHandle) {
    const std::wstring* const pName = g_GetSystem().Find(uHandle, EHandle::kSemaphore);
    return pName ? &g_GetSystem().m_Semaphores.at(*pName) : nullptr;
}

}  // namespace

void CloseNamedObject(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }

CSemaphoreHandle OpenSemaphore(const wchar_t* pszName) {
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("OpenSemaphore", kErrorFileNotFound)) return {};
    const bool bExists = rSystem.m_Semaphores.contains(pszName);
    return CSemaphoreHandle(bExists ? rSystem.Open(EHandle::kSemaphore, pszName) : rSystem.Fail(kErrorFileNotFound));
}

CSemaphoreHandle CreateSemaphore(const wchar_t* pszName, int32_t nInitial, int32_t nMaximum, const wchar_t* pszSddl) {
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("CreateSemaphore")) return {};
    rSystem.m_Semaphores.try_emplace(pszName, CSimulatedSystem::CSemaphore{nInitial, nMaximum, pszSddl});
    return CSemaphoreHandle(rSystem.Open(EHandle::kSemaphore, pszName));
}

uint32_t WaitSemaphore(const CSemaphoreHandle& rSemaphore, uint32_t /*uMilliseconds*/) {
    if (g_GetSystem().Refuses("WaitSemaphore")) return kWaitFailed;
    CSimulatedSystem::CSemaphore* const pSemaphore = g_FindSemaphore(rSemaphore.Get());
    if (!pSemaphore) return kWaitFailed;
    if (pSemaphore->nCount == 0) return kWaitTimeout;
    --pSemaphore->nCount;
    return kWaitObject0;
}

bool ReleaseSemaphore(const CSemaphoreHandle& rSemaphore, int32_t& rnPrevious) {
    if (g_GetSystem().Refuses("ReleaseSemaphore")) return false;
    CSimulatedSystem::CSemaphore* const pSemaphore = g_FindSemaphore(rSemaphore.Get());
    if (!pSemaphore || pSemaphore->nCount == pSemaphore->nMaximum) return false;
    rnPrevious = pSemaphore->nCount++;
    return true;
}

}  // namespace vxt::platform
