#include "platform/service_control.h"

#include "platform/simulated/simulated_system.h"

namespace vxt::platform {

using simulated::CSimulatedSystem;
using simulated::CSystemSide;
using simulated::g_GetSystem;
using EHandle = CSimulatedSystem::EHandle;

// Error codes and their order are those of the real manager: a call that finds the service marked for delete, or in a state
// that does not fit, is refused at once; nothing here waits.

namespace {

constexpr uint64_t kNanosecondsPerMillisecond = 1'000'000;

/// Asks for a service's state, which may end its stopping.
uint32_t g_StateOf(CSimulatedSystem& rSystem, CSimulatedSystem::CService& rService) {
    if (rService.uQueriesToStop > 0 && rService.uState == kServiceStopPending) {
        --rService.uQueriesToStop;
        return kServiceStopPending;
    }
    rSystem.SettleServices();
    return rService.uState;  // the caller's handle keeps it
}

}  // namespace

void CloseServiceHandle(uintptr_t uHandle) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (CSimulatedSystem::CService* const pService = rSystem.FindService(uHandle)) --pService->uHandles;
    rSystem.Close(uHandle);
    rSystem.SettleServices();
}

CServiceHandle OpenServiceManager() {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("OpenServiceManager")) return {};
    return CServiceHandle(rSystem.m_bHasRights ? rSystem.Open(EHandle::kManager, L"")
                                               : rSystem.Fail(kErrorAccessDenied));
}

CServiceHandle OpenService(const CServiceHandle& rManager, const wchar_t* pszName) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("OpenService") || !rSystem.Find(rManager.Get(), EHandle::kManager)) return {};
    rSystem.SettleServices();
    const auto it = rSystem.m_Services.find(pszName);
    if (it == rSystem.m_Services.end()) return CServiceHandle(rSystem.Fail(kErrorServiceDoesNotExist));
    if (it->second.bDeleted && rSystem.m_uOpenersToGo > 0) --rSystem.m_uOpenersToGo;
    ++it->second.uHandles;
    return CServiceHandle(rSystem.Open(EHandle::kService, pszName));
}

CServiceHandle CreateDriverService(const CServiceHandle& rManager, const wchar_t* pszName, const wchar_t* pszPath) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("CreateDriverService") || !rSystem.Find(rManager.Get(), EHandle::kManager)) return {};
    rSystem.SettleServices();
    const auto [it, bInserted] = rSystem.m_Services.try_emplace(pszName);
    if (!bInserted)
        return CServiceHandle(rSystem.Fail(it->second.bDeleted ? kErrorServiceMarkedForDelete : kErrorServiceExists));
    it->second = {.sPath = pszPath, .uHandles = 1};
    return CServiceHandle(rSystem.Open(EHandle::kService, pszName));
}

bool StartService(const CServiceHandle& rService) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("StartService")) return false;
    CSimulatedSystem::CService* const pService = rSystem.FindService(rService.Get());
    if (!pService) return false;
    if (pService->bDeleted) return rSystem.Fail(kErrorServiceMarkedForDelete);
    if (g_StateOf(rSystem, *pService) != kServiceStopped) return rSystem.Fail(kErrorServiceAlreadyRunning);
    if (!rSystem.m_bDriverFileExists) {
        rSystem.ShowError();
        return rSystem.Fail(kErrorFileNotFound);
    }
    pService->uState = kServiceRunning;
    return true;
}

bool StopService(const CServiceHandle& rService) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("StopService")) return false;
    CSimulatedSystem::CService* const pService = rSystem.FindService(rService.Get());
    if (!pService) return false;
    const uint32_t uState = g_StateOf(rSystem, *pService);
    if (uState == kServiceStopped) return rSystem.Fail(kErrorServiceNotActive);
    if (uState != kServiceRunning) return rSystem.Fail(kErrorServiceCannotAcceptControl);
    pService->uState = kServiceStopPending;
    pService->ullStopped = simulated::g_GetMachine().Now() + rSystem.m_uStopMilliseconds * kNanosecondsPerMillisecond;
    pService->uQueriesToStop = rSystem.m_uStopQueries;
    rSystem.SettleServices();
    return true;
}

bool DeleteService(const CServiceHandle& rService) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("DeleteService")) return false;
    CSimulatedSystem::CService* const pService = rSystem.FindService(rService.Get());
    if (!pService) return false;
    if (pService->bDeleted) return rSystem.Fail(kErrorServiceMarkedForDelete);
    return pService->bDeleted = true;
}

bool QueryServiceStatus(const CServiceHandle& rService, uint32_t& ruState) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("QueryServiceStatus")) return false;
    CSimulatedSystem::CService* const pService = rSystem.FindService(rService.Get());
    if (!pService) return false;
    ruState = g_StateOf(rSystem, *pService);
    return true;
}

}  // namespace vxt::platform
