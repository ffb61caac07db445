#include "platform/named_objects.h"

#include <algorithm>
#include <chrono>

#include "platform/simulated/simulated_system.h"

namespace vxt::platform {

using simulated::CSimulatedSystem;
using simulated::CSystemSide;
using simulated::g_GetSystem;
using EHandle = CSimulatedSystem::EHandle;

namespace {

CSimulatedSystem::CSemaphore* g_FindSemaphore(uintptr_t uHandle) {
    const std::wstring* const pName = g_GetSystem().Find(uHandle, EHandle::kSemaphore);
    return pName ? &g_GetSystem().m_Semaphores.at(*pName) : nullptr;
}

CSimulatedSystem::CMutex* g_FindMutex(uintptr_t uHandle) {
    const std::wstring* const pName = g_GetSystem().Find(uHandle, EHandle::kMutex);
    return pName ? &g_GetSystem().m_Mutexes.at(*pName) : nullptr;
}

}  // namespace

void CloseNamedObject(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }

CSemaphoreHandle OpenSemaphore(const wchar_t* pszName) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("OpenSemaphore", kErrorFileNotFound)) return {};
    const bool bExists = rSystem.m_Semaphores.contains(pszName);
    return CSemaphoreHandle(bExists ? rSystem.Open(EHandle::kSemaphore, pszName) : rSystem.Fail(kErrorFileNotFound));
}

CSemaphoreHandle CreateSemaphore(const wchar_t* pszName, int32_t nInitial, int32_t nMaximum, const wchar_t* pszSddl) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("CreateSemaphore")) return {};
    rSystem.m_Semaphores.try_emplace(pszName, CSimulatedSystem::CSemaphore{nInitial, nMaximum, pszSddl});
    return CSemaphoreHandle(rSystem.Open(EHandle::kSemaphore, pszName));
}

uint32_t WaitSemaphore(const CSemaphoreHandle& rSemaphore, uint32_t /*uMilliseconds*/) {
    const CSystemSide SystemSide;
    const std::lock_guard Guard(g_GetSystem().m_Lock);
    if (g_GetSystem().Refuses("WaitSemaphore")) return kWaitFailed;
    CSimulatedSystem::CSemaphore* const pSemaphore = g_FindSemaphore(rSemaphore.Get());
    if (!pSemaphore) return kWaitFailed;
    if (pSemaphore->nCount == 0) return kWaitTimeout;
    --pSemaphore->nCount;
    return kWaitObject0;
}

bool ReleaseSemaphore(const CSemaphoreHandle& rSemaphore, int32_t& rnPrevious) {
    const CSystemSide SystemSide;
    const std::lock_guard Guard(g_GetSystem().m_Lock);
    if (g_GetSystem().Refuses("ReleaseSemaphore")) return false;
    CSimulatedSystem::CSemaphore* const pSemaphore = g_FindSemaphore(rSemaphore.Get());
    if (!pSemaphore || pSemaphore->nCount == pSemaphore->nMaximum) return false;
    rnPrevious = pSemaphore->nCount++;
    return true;
}

CMutexHandle OpenMutex(const wchar_t* pszName) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("OpenMutex", kErrorFileNotFound)) return {};
    const bool bExists = rSystem.m_Mutexes.contains(pszName);
    return CMutexHandle(bExists ? rSystem.Open(EHandle::kMutex, pszName) : rSystem.Fail(kErrorFileNotFound));
}

CMutexHandle CreateMutex(const wchar_t* pszName, const wchar_t* pszSddl) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("CreateMutex")) return {};
    rSystem.m_Mutexes.try_emplace(pszName, CSimulatedSystem::CMutex{.sSddl = pszSddl});
    return CMutexHandle(rSystem.Open(EHandle::kMutex, pszName));
}

/// Waits for another process in virtual time, for another thread of this one in real time.
uint32_t WaitMutex(const CMutexHandle& rMutex, uint32_t uMilliseconds) {
    const CSystemSide SystemSide;
    constexpr uint64_t kNanosecondsPerMillisecond = 1'000'000;
    CSimulatedSystem& rSystem = g_GetSystem();
    std::unique_lock Guard(rSystem.m_Lock);
    CSimulatedSystem::CMutex* const pMutex = g_FindMutex(rMutex.Get());
    if (rSystem.Refuses("WaitMutex") || !pMutex) return kWaitFailed;
    vxtsim::CSimMachine& rMachine = simulated::g_GetMachine();
    if (pMutex->ullForeignUntil > rMachine.Now())
        rMachine.Advance(
            std::min(uMilliseconds * kNanosecondsPerMillisecond, pMutex->ullForeignUntil - rMachine.Now()));
    if (pMutex->ullForeignUntil > rMachine.Now()) return kWaitTimeout;

    const std::thread::id Caller = std::this_thread::get_id();
    const bool bFree = rSystem.m_MutexReleased.wait_for(Guard, std::chrono::milliseconds(uMilliseconds),
                                                        [&] { return pMutex->uTaken == 0 || pMutex->Owner == Caller; });
    if (!bFree) return kWaitTimeout;
    pMutex->Owner = Caller;
    ++pMutex->uTaken;
    return std::exchange(pMutex->bAbandoned, false) ? kWaitAbandoned : kWaitObject0;
}

bool ReleaseMutex(const CMutexHandle& rMutex) {
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    CSimulatedSystem::CMutex* const pMutex = g_FindMutex(rMutex.Get());
    if (!pMutex || pMutex->uTaken == 0 || pMutex->Owner != std::this_thread::get_id()) return false;
    if (--pMutex->uTaken == 0) rSystem.m_MutexReleased.notify_all();
    return true;
}

}  // namespace vxt::platform
