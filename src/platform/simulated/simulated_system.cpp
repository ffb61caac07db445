#include "platform/simulated/simulated_system.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace vxt::platform::simulated {

namespace {

std::unique_ptr<CSimulatedSystem>& g_SystemPointer() {
    // Never destroyed: a host that ends without UnInitVXTAPI closes its handles after every later static is gone.
    static auto* const s_pSystem = new std::unique_ptr<CSimulatedSystem>(std::make_unique<CSimulatedSystem>());
    return *s_pSystem;
}

}  // namespace

CSimulatedSystem::CSimulatedSystem() : m_Server(g_GetMachine()), m_Wmi(g_GetMachine()) {
    m_bDriverFileExists = !g_MachineError();
    m_Server.SetFaults(&m_RequestFaults);
    const char* const pszFaults = std::getenv("VXT_FAULT");
    if (!pszFaults || !*pszFaults) return;
    std::string sError;
    if (vxtsim::CFaultPlan::Parse(pszFaults, m_RequestFaults, sError)) {
        m_Server.ReportFaults([](const std::string& sRemark) { std::fprintf(stderr, "fault: %s\n", sRemark.c_str()); });
    } else {
        m_sPlanError = "--fault: " + sError;
        m_bDriverFileExists = false;  // a mistyped plan must not look like a healthy run
    }
}

const char* CSimulatedSystem::TakeError() {
    const std::lock_guard Guard(m_Lock);
    m_bErrorTaken = true;
    return m_sPlanError.empty() ? g_MachineError() : m_sPlanError.c_str();
}

void CSimulatedSystem::ShowError() {
    const std::lock_guard Guard(m_Lock);
    if (m_bErrorTaken) return;
    if (const char* const pszError = TakeError()) std::fprintf(stderr, "%s\n", pszError);
}

CSimulatedSystem& g_GetSystem() { return *g_SystemPointer(); }

void g_Restart(vxtsim::CMachineDescription Description) {
    g_SystemPointer().reset();
    g_UseMachine(std::move(Description));
    g_SystemPointer() = std::make_unique<CSimulatedSystem>();
}

void g_Restart(const std::string& sMachine, const std::string& sState) {
    g_SystemPointer().reset();
    g_UseMachine(sMachine, sState);
    g_SystemPointer() = std::make_unique<CSimulatedSystem>();
}

void CSimulatedSystem::OtherProcessAttaches(const wchar_t* pszSemaphore, int32_t nMaximum) {
    --m_Semaphores.try_emplace(pszSemaphore, CSemaphore{nMaximum, nMaximum, {}}).first->second.nCount;
}

void CSimulatedSystem::OtherProcessTakesMutex(const wchar_t* pszMutex, uint32_t uMilliseconds) {
    m_Mutexes[pszMutex].ullForeignUntil = g_GetMachine().Now() + uint64_t{uMilliseconds} * 1'000'000;
}

void CSimulatedSystem::AbandonMutex(const wchar_t* pszMutex) { m_Mutexes[pszMutex].bAbandoned = true; }

bool CSimulatedSystem::Refuses(const char* pszCall, uint32_t uError) {
    const CSystemSide SystemSide;
    const std::lock_guard Guard(m_Lock);
    if (m_pTrace && pszCall) m_pTrace->emplace_back(pszCall);
    if (!m_bSweeping || m_bFailed || m_ullGoodCalls-- > 0) return false;
    m_bFailed = true;
    s_uLastError = uError;
    return true;
}

uintptr_t CSimulatedSystem::Open(EHandle eKind, std::wstring sName, std::shared_ptr<void> pState) {
    const std::lock_guard Guard(m_Lock);
    m_Handles[m_uNextHandle] = {eKind, std::move(sName), std::move(pState)};
    return m_uNextHandle++;
}

const std::wstring* CSimulatedSystem::Find(uintptr_t uHandle, EHandle eKind) {
    const std::lock_guard Guard(m_Lock);
    const auto it = m_Handles.find(uHandle);
    if (it != m_Handles.end() && it->second.eKind == eKind) return &it->second.sName;
    s_uLastError = kErrorInvalidHandle;
    return nullptr;
}

void CSimulatedSystem::Close(uintptr_t uHandle) {
    const std::lock_guard Guard(m_Lock);
    if (m_Handles.erase(uHandle)) return;
    std::fprintf(stderr, "simulated system: a handle was closed twice\n");
    std::abort();  // on a real system this closes somebody else's handle
}

uintptr_t CSimulatedSystem::Fail(uint32_t uError) {
    const std::lock_guard Guard(m_Lock);
    s_uLastError = uError;
    return 0;
}

CSimulatedSystem::CService* CSimulatedSystem::FindService(uintptr_t uHandle) {
    const std::wstring* const pName = Find(uHandle, EHandle::kService);
    return pName ? &m_Services.at(*pName) : nullptr;
}

void CSimulatedSystem::SettleServices() {
    const std::lock_guard Guard(m_Lock);
    const bool bDriverOpen = m_uOtherDriverHandles != 0 || std::ranges::any_of(m_Handles, [](const auto& rEntry) {
                                 return rEntry.second.eKind == EHandle::kDriver;
                             });
    for (auto& [sName, rService] : m_Services)
        if (rService.uState == kServiceStopPending && !bDriverOpen && rService.uQueriesToStop == 0 &&
            g_GetMachine().Now() >= rService.ullStopped)
            rService.uState = kServiceStopped;
    std::erase_if(m_Services, [this](const auto& rEntry) {
        const CService& rService = rEntry.second;
        return rService.bDeleted && rService.uState == kServiceStopped && rService.uHandles == 0 && m_uOpenersToGo == 0;
    });
}

}  // namespace vxt::platform::simulated

namespace vxt::platform {

uint32_t LastError() { return simulated::CSimulatedSystem::s_uLastError; }

}  // namespace vxt::platform
