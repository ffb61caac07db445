// The operating system of the simulated PC: services, named objects, handles, rights. As strict as the real one.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/error_code.h"
#include "platform/simulated/simulated_machine.h"
#include "sim/driver_server.h"

namespace vxt::platform::simulated {

/// Everything a test or tool may arrange, and what the capabilities keep. One per process.
class CSimulatedSystem {
public:
    CSimulatedSystem();

    // --- arrangements -------------------------------------------------------------------------------------------------
    uint32_t m_uPlatformId = 2;
    bool m_bIsWow64 = true;
    bool m_bWow64QueryWorks = true;
    bool m_bHasRights = true;         ///< administrator: may open the service manager
    bool m_bDriverFileExists = true;  ///< starting the service finds its file
    std::wstring m_sExecutable = L"C:\\Program Files\\Host\\host.exe";
    uint32_t m_uOpenersToGo = 0;         ///< times a removed service can still be opened before it is gone
    double m_dLoad = 0.0;                ///< share of time that each processor is busy, 0 to 1
    vxtsim::CFaultPlan m_RequestFaults;  ///< in front of the driver's requests
    bool m_bReportFaults = false;        ///< one line on stderr for each fault

    /// The call after `ullGood` good ones fails, whichever capability it asks for; no sweep without it.
    void FailAfter(uint64_t ullGood) { m_ullGoodCalls = ullGood, m_bSweeping = true, m_bFailed = false; }
    void StopFailing() { m_bSweeping = false; }
    bool HasFailed() const { return m_bFailed; }

    /// Another process starts or ends its use of the driver.
    void OtherProcessAttaches(const wchar_t* pszSemaphore, int32_t nMaximum);

    // --- state ---------------------------------------------------------------------------------------------------------
    struct CService {
        std::wstring sPath;
        bool bRunning = false, bDeleted = false;
        uint32_t uHandles = 0;
    };
    struct CSemaphore {
        int32_t nCount, nMaximum;
        std::wstring sSddl;
    };
    enum class EHandle { kManager, kService, kDriver, kSemaphore, kRegistryKey };
    struct CHandle {
        EHandle eKind;
        std::wstring sName;
    };

    std::map<std::wstring, CService> m_Services;
    std::map<std::wstring, CSemaphore> m_Semaphores;
    std::map<uintptr_t, CHandle> m_Handles;
    vxtsim::CDriverServer m_Server;
    std::vector<std::string>* m_pTrace = nullptr;  ///< every call by name, when recording

    // --- for the capabilities -----------------------------------------------------------------------------------------
    /// Counts a call and tells whether it is the one to fail; a refused call leaves `uError` behind. `pszCall` is null
    /// for driver requests, which the server records itself.
    bool Refuses(const char* pszCall, uint32_t uError = kErrorAccessDenied);
    uintptr_t Open(EHandle eKind, std::wstring sName);
    /// The handle's name, or null (and "invalid handle") when it is closed or of another kind.
    const std::wstring* Find(uintptr_t uHandle, EHandle eKind);
    void Close(uintptr_t uHandle);
    uintptr_t Fail(uint32_t uError);
    CService* FindService(uintptr_t uHandle);
    uint32_t m_uLastError = 0;

private:
    uintptr_t m_uNextHandle = 0x100;
    uint64_t m_ullGoodCalls = 0;
    bool m_bSweeping = false, m_bFailed = false;
};

CSimulatedSystem& g_GetSystem();

/// Switches everything on anew: the machine, the system's state, virtual time.
void g_Restart(vxtsim::CMachineDescription Description);

/// Core that the calling thread is pinned to; 0 when it is not.
uint32_t g_CurrentCore();

}  // namespace vxt::platform::simulated
