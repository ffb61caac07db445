#include "platform/service_control.h"

#include "platform/simulated/simulated_system.h"

namespace vxt::platform {

using simulated::CSimulatedSystem;
using simulated::CSystemSide;
using simulated::g_GetSystem;
using EHandle = CSimulatedSystem::EHandle;

namespace {

/// A deleted service is gone when it is stopped and its last handle is closed.
void g_ForgetDeleted(CSimulatedSystem& rSystem, const std::wstring& sName) {
    const auto it = rSystem.m_Services.find(sName);
    if (it != rSystem.m_Services.end() && it->second.bDeleted && !it->second.bRunning && it->second.uHandles == 0 &&
        rSystem.m_uOpenersToGo == 0)
        rSystem.m_Services.erase(it);
}

}  // namespace

void CloseServiceHandle(uintptr_t uHandle) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (CSimulatedSystem::CService* const pService = rSystem.FindService(uHandle)) {
        const std::wstring sName = *rSystem.Find(uHandle, EHandle::kService);
        --pService->uHandles;
        rSystem.Close(uHandle);
        g_ForgetDeleted(rSystem, sName);
    } else {
        rSystem.Close(uHandle);
    }
}

CServiceHandle OpenServiceManager() {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("OpenServiceManager")) return {};
    return CServiceHandle(rSystem.m_bHasRights ? rSystem.Open(EHandle::kManager, L"")
                                               : rSystem.Fail(kErrorAccessDenied));
}

CServiceHandle OpenService(const CServiceHandle& rManager, const wchar_t* pszName) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("OpenService") || !rSystem.Find(rManager.Get(), EHandle::kManager)) return {};
    const auto it = rSystem.m_Services.find(pszName);
    if (it == rSystem.m_Services.end()) return CServiceHandle(rSystem.Fail(kErrorServiceDoesNotExist));
    if (it->second.bDeleted && rSystem.m_uOpenersToGo > 0) --rSystem.m_uOpenersToGo;
    ++it->second.uHandles;
    return CServiceHandle(rSystem.Open(EHandle::kService, pszName));
}

CServiceHandle CreateDriverService(const CServiceHandle& rManager, const wchar_t* pszName, const wchar_t* pszPath) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("CreateDriverService") || !rSystem.Find(rManager.Get(), EHandle::kManager)) return {};
    const auto [it, bInserted] = rSystem.m_Services.try_emplace(pszName);
    if (!bInserted)
        return CServiceHandle(rSystem.Fail(it->second.bDeleted ? kErrorServiceMarkedForDelete : kErrorServiceExists));
    it->second = {.sPath = pszPath, .uHandles = 1};
    return CServiceHandle(rSystem.Open(EHandle::kService, pszName));
}

bool StartService(const CServiceHandle& rService) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("StartService")) return false;
    CSimulatedSystem::CService* const pService = rSystem.FindService(rService.Get());
    if (!pService) return false;
    if (pService->bRunning) return rSystem.Fail(kErrorServiceAlreadyRunning);
    if (pService->bDeleted) return rSystem.Fail(kErrorServiceMarkedForDelete);
    if (!rSystem.m_bDriverFileExists) return rSystem.Fail(kErrorFileNotFound);
    return pService->bRunning = true;
}

bool StopService(const CServiceHandle& rService) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("StopService")) return false;
    CSimulatedSystem::CService* const pService = rSystem.FindService(rService.Get());
    if (!pService) return false;
    if (!pService->bRunning) return rSystem.Fail(kErrorServiceNotActive);
    pService->bRunning = false;
    return true;
}

bool DeleteService(const CServiceHandle& rService) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("DeleteService")) return false;
    CSimulatedSystem::CService* const pService = rSystem.FindService(rService.Get());
    if (!pService) return false;
    if (pService->bDeleted) return rSystem.Fail(kErrorServiceMarkedForDelete);
    return pService->bDeleted = true;
}

}  // namespace vxt::platform
