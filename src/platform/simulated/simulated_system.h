// The operating system of the simulated PC: services, named objects, handles, rights. As strict as the real one.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/error_code.h"
#include "platform/service_control.h"
#include "platform/simulated/simulated_machine.h"
#include "sim/driver_server.h"
#include "sim/wmi.h"

namespace vxt::platform::simulated {

/// While one lives, its thread is on the system's side of the seam: memory that it takes is not the library's.
class CSystemSide {
public:
    CSystemSide() { ++t_uEntered; }
    CSystemSide(const CSystemSide&) = delete;
    ~CSystemSide() { --t_uEntered; }
    static bool Entered() { return t_uEntered != 0; }

private:
    static inline thread_local uint32_t t_uEntered = 0;
};

/// Everything a test or tool may arrange, and what the capabilities keep. One per process. Handles may be opened, used
/// and closed on any thread; arrangements are made while only one runs.
class CSimulatedSystem {
public:
    CSimulatedSystem();

    // --- arrangements -------------------------------------------------------------------------------------------------
    uint32_t m_uPlatformId = 2;
    bool m_bIsWow64 = true;
    bool m_bWow64QueryWorks = true;
    bool m_bHasRights = true;            ///< administrator: may open the service manager and the driver
    bool m_bDriverFileExists = true;     ///< starting the service finds its file
    bool m_bShowsPhysicalMemory = true;  ///< to programs, as systems before 2003 did
    std::wstring m_sExecutable = L"C:\\Program Files\\Host\\host.exe";
    uint32_t m_uOpenersToGo = 0;         ///< times a removed service can still be opened before it is gone
    uint32_t m_uOtherDriverHandles = 0;  ///< that other processes have open: as long the driver cannot be unloaded
    uint32_t m_uStopMilliseconds = 0;    ///< of virtual time that a driver takes to stop
    uint32_t m_uStopQueries = 0;         ///< times a stopping service is asked for its state before it has stopped
    vxtsim::CFaultPlan m_RequestFaults;  ///< in front of the driver's requests
    /// What a hang of the PC does in place of ending the process, on the thread on which time passed; it may throw, through
    /// whatever waits in the library there. Returns: everything goes on, and it is called again.
    std::function<void(const std::string& sReason)> m_OnHang;

    /// The call after `ullGood` good ones fails, whichever capability it asks for; no sweep without it.
    void FailAfter(uint64_t ullGood) { m_ullGoodCalls = ullGood, m_bSweeping = true, m_bFailed = false; }
    void StopFailing() { m_bSweeping = false; }
    bool HasFailed() const { return m_bFailed; }

    /// Another process starts or ends its use of the driver.
    void OtherProcessAttaches(const wchar_t* pszSemaphore, int32_t nMaximum);
    /// Another process takes the mutex, which it creates when need be, for so much virtual time.
    void OtherProcessTakesMutex(const wchar_t* pszMutex, uint32_t uMilliseconds);
    /// The mutex's owner ends without releasing it: whoever waits next gets it as an abandoned one.
    void AbandonMutex(const wchar_t* pszMutex);

    // --- state ---------------------------------------------------------------------------------------------------------
    struct CService {
        std::wstring sPath;
        uint32_t uState = kServiceStopped;
        bool bDeleted = false;        ///< gone once it has stopped and nobody has a handle to it
        uint32_t uHandles = 0;        ///< other processes' included
        uint64_t ullStopped = 0;      ///< ns: when it may have stopped
        uint32_t uQueriesToStop = 0;  ///< likewise
    };
    struct CSemaphore {
        int32_t nCount, nMaximum;
        std::wstring sSddl;
    };
    struct CMutex {
        std::wstring sSddl;
        std::thread::id Owner = {};
        uint32_t uTaken = 0;  ///< times by its owner
        bool bAbandoned = false;
        uint64_t ullForeignUntil = 0;  ///< ns: until then another process has it
    };
    enum class EHandle {
        kManager,
        kService,
        kDriver,
        kSemaphore,
        kMutex,
        kRegistryKey,
        kWmiLocator,
        kWmiServices,
        kWmiEnumerator,
        kWmiObject,
        kXmlDocument,
        kDisplay,
        kDeviceList,
        kDrive,
    };
    struct CHandle {
        EHandle eKind;
        std::wstring sName;
        std::shared_ptr<void> pState;  ///< what the capability keeps with it
    };

    std::map<std::wstring, CService> m_Services;
    std::map<std::wstring, CSemaphore> m_Semaphores;
    std::map<std::wstring, CMutex> m_Mutexes;
    std::map<uintptr_t, CHandle> m_Handles;
    vxtsim::CDriverServer m_Server;
    vxtsim::CSimWmi m_Wmi;
    std::vector<std::string>* m_pTrace = nullptr;  ///< every call by name, when recording

    // --- for the capabilities -----------------------------------------------------------------------------------------
    /// Counts a call and tells whether it is the one to fail; a refused call leaves `uError` behind. `pszCall` is null
    /// for driver requests, which the server records itself.
    bool Refuses(const char* pszCall, uint32_t uError = kErrorAccessDenied);
    uintptr_t Open(EHandle eKind, std::wstring sName, std::shared_ptr<void> pState = {});
    /// The handle's name, or null (and "invalid handle") when it is closed or of another kind.
    const std::wstring* Find(uintptr_t uHandle, EHandle eKind);
    /// What was opened with it, likewise.
    template <class TState> std::shared_ptr<TState> State(uintptr_t uHandle, EHandle eKind) {
        const std::lock_guard Guard(m_Lock);
        return Find(uHandle, eKind) ? std::static_pointer_cast<TState>(m_Handles.at(uHandle).pState) : nullptr;
    }
    void Close(uintptr_t uHandle);
    uintptr_t Fail(uint32_t uError);
    CService* FindService(uintptr_t uHandle);
    /// What is wrong with machine, state or fault plan, in one line; null for nothing. Whoever asks shows it.
    const char* TakeError();
    /// Shows it on stderr if nobody has asked.
    void ShowError();
    /// Brings all services up to date: what has stopped meanwhile, what is gone.
    void SettleServices();
    static inline thread_local uint32_t s_uLastError = 0;  ///< of the calling thread
    std::recursive_mutex m_Lock;                           ///< handles, named objects, the sweep and the trace
    std::condition_variable_any m_MutexReleased;           ///< with m_Lock

private:
    uintptr_t m_uNextHandle = 0x100;
    uint64_t m_ullGoodCalls = 0;
    bool m_bSweeping = false, m_bFailed = false;
    std::string m_sPlanError;
    bool m_bErrorTaken = false;
};

CSimulatedSystem& g_GetSystem();

/// Switches everything on anew: the machine, the system's state, virtual time.
void g_Restart(vxtsim::CMachineDescription Description);
/// Likewise, as VXT_MACHINE and VXT_STATE would have it in a process of their own.
void g_Restart(const std::string& sMachine, const std::string& sState);

/// Core that the calling thread is pinned to; 0 when it is not.
uint32_t g_CurrentCore();

}  // namespace vxt::platform::simulated
