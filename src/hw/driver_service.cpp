// The VXTDriver service: installed with the first user, removed with the last, counted across processes.
#include <algorithm>
#include <string_view>

#include "api/log/log.h"
#include "api/log/log_checks.h"
#include "hw/driver_handler.h"
#include "hw/named_object_security.h"
#include "platform/clock.h"
#include "platform/error_code.h"
#include "platform/service_control.h"
#include "platform/system.h"

namespace vxt {

namespace {

constexpr const wchar_t* kSemaphoreName = L"Global\\VXTDriverSemaphore";
constexpr int32_t kMaximumUsers = 10000;  ///< each process that uses the driver holds one unit

constexpr const wchar_t* kDriverFile64 = L"\\qor64\\VXTDriver.sys";
constexpr const wchar_t* kDriverFile32 = L"\\i386\\VXTDriver.sys";

constexpr int kRemovalPolls = 100;
constexpr uint32_t kRemovalPollMilliseconds = 10;

}  // namespace

bool CDriverHandler::GetDriverPath(wchar_t* pszDriverPath) {
    LOG_PROCESS_ERROR(pszDriverPath, "pDriverPath");
    std::array<wchar_t, kMaxPath> szExecutable{};
    const uint32_t dwRet = platform::ExecutablePath(szExecutable);
    LOG_PROCESS_ERROR(dwRet);
    const std::wstring_view sExecutable(szExecutable.data(), dwRet);
    const size_t uSlash = sExecutable.rfind(L'\\');
    LOG_PROCESS_ERROR(uSlash != std::wstring_view::npos, "pszSlash");
    const std::wstring_view sFolder = sExecutable.substr(0, uSlash), sFile = m_bIsWow64 ? kDriverFile64 : kDriverFile32;
    LOG_PROCESS_ERROR(sFolder.size() + sFile.size() < kMaxPath, "sPath.size() < kMaxPath");
    *std::ranges::copy(sFile, std::ranges::copy(sFolder, pszDriverPath).out).out = 0;
    return true;
}

bool CDriverHandler::InstallDriver(const wchar_t* pszPath) {
    RemoveDriver();  // a stale service, if there is one
    const platform::CServiceHandle hSCManager = platform::OpenServiceManager();
    LOG_PROCESS_ERROR(hSCManager);
    platform::CServiceHandle hService;
    do {
        hService = platform::CreateDriverService(hSCManager, protocol::kServiceName, pszPath);
    } while (!hService && platform::LastError() == platform::kErrorServiceMarkedForDelete && m_Patience.Pause());
    if (!hService)
        g_GetLog().WriteLog(kLogDiagnostic, "InstallDriver: error code returned from CreateService is: %d",
                            static_cast<int>(platform::LastError()));
    LOG_PROCESS_ERROR(hService);
    return true;
}

bool CDriverHandler::StartDriver() {
    StopDriver();
    const platform::CServiceHandle hSCManager = platform::OpenServiceManager();
    LOG_PROCESS_ERROR(hSCManager);
    const platform::CServiceHandle hService = platform::OpenService(hSCManager, protocol::kServiceName);
    LOG_PROCESS_ERROR(hService);
    if (platform::StartService(hService)) return true;
    uint32_t uError = platform::LastError();
    // A service that is stopping counts as running: it can be started again when it has stopped.
    if (uError == platform::kErrorServiceAlreadyRunning && _HasStopped(hService))
        uError = platform::StartService(hService) ? 0 : platform::LastError();
    if (uError == 0 || uError == platform::kErrorServiceAlreadyRunning) return true;
    g_GetLog().WriteLog(kLogDiagnostic, "StartDriver: error code returned from StartService is: %d",
                        static_cast<int>(uError));
    return false;
}

bool CDriverHandler::StopDriver() {
    const platform::CServiceHandle hSCManager = platform::OpenServiceManager();
    if (!hSCManager) return false;
    const platform::CServiceHandle hService = platform::OpenService(hSCManager, protocol::kServiceName);
    if (!hService) return false;
    uint32_t uError = 0;
    do {
        uError = platform::StopService(hService) ? 0 : platform::LastError();
    } while (uError == platform::kErrorServiceCannotAcceptControl && m_Patience.Pause());  // it is starting or stopping
    if (uError == 0) (void)_HasStopped(hService);
    if (uError == 0 || uError == platform::kErrorServiceNotActive) return true;
    g_GetLog().WriteLog(kLogDiagnostic, "StopDriver: error code returned from ControlService is %d",
                        static_cast<int>(uError));
    return false;
}

bool CDriverHandler::RemoveDriver() {
    StopDriver();
    const platform::CServiceHandle hSCManager = platform::OpenServiceManager();
    if (!hSCManager) return false;
    platform::CServiceHandle hService = platform::OpenService(hSCManager, protocol::kServiceName);
    if (!hService) return false;
    const bool bDeleted = platform::DeleteService(hService);
    const bool bGoing = !bDeleted && platform::LastError() == platform::kErrorServiceMarkedForDelete;
    hService.Reset();  // the service is gone when its last handle is closed
    const bool bRetCode = bDeleted || (bGoing && _HasGone(hSCManager));
    LOG_PROCESS_ERROR(bRetCode);
    for (int nPoll = 1; nPoll <= kRemovalPolls; ++nPoll) {
        if (!platform::OpenService(hSCManager, protocol::kServiceName)) {
            g_GetLog().WriteLog(kLogInformation, "VXTDriver service has been removed.(%d)", nPoll);
            return true;
        }
        platform::Sleep(kRemovalPollMilliseconds);
    }
    return false;
}

/// Whether the service has stopped, which one that is stopping is given time for.
bool CDriverHandler::_HasStopped(const platform::CServiceHandle& rService) {
    uint32_t uState = 0;
    while (platform::QueryServiceStatus(rService, uState) && uState == platform::kServiceStopPending)
        if (!m_Patience.Pause()) return false;
    return uState == platform::kServiceStopped;
}

/// Whether a service that somebody removes is gone, likewise.
bool CDriverHandler::_HasGone(const platform::CServiceHandle& rManager) {
    while (platform::OpenService(rManager, protocol::kServiceName))
        if (!m_Patience.Pause()) return false;
    return true;
}

bool CDriverHandler::AddReference() {
    if (m_hSemaphore) return true;  // a start without a shut-down before: this process is counted
    m_hSemaphore = platform::OpenSemaphore(kSemaphoreName);
    if (!m_hSemaphore) {
        g_GetLog().WriteLog(kLogDiagnostic, "AddReference: error code returned from OpenSemaphore is: %d",
                            static_cast<int>(platform::LastError()));
        m_hSemaphore = platform::CreateSemaphore(kSemaphoreName, kMaximumUsers, kMaximumUsers, kNamedObjectSecurity);
    }
    LOG_PROCESS_ERROR(m_hSemaphore, "m_hSemaphore != NULL");
    const uint32_t dwWaitResult = platform::WaitSemaphore(m_hSemaphore, 0);
    if (dwWaitResult != platform::kWaitObject0) m_hSemaphore.Reset();  // no unit taken: none to give back
    LOG_PROCESS_ERROR(dwWaitResult == platform::kWaitObject0, "dwWaitResult == WAIT_OBJECT_0");
    return true;
}

uint32_t CDriverHandler::ReleaseReference() {
    constexpr uint32_t kFailed = 0xFFFFFFFF;
    // Taking the handle makes a second release a failure instead of giving back another process's unit.
    const platform::CSemaphoreHandle hSemaphore = std::move(m_hSemaphore);
    LOG_PROCESS_ERROR_OR(kFailed, hSemaphore, "m_hSemaphore != NULL");
    int32_t nPrevious = 0;
    const bool bRetCode = platform::ReleaseSemaphore(hSemaphore, nPrevious);
    LOG_PROCESS_ERROR_OR(kFailed, bRetCode);
    return static_cast<uint32_t>(kMaximumUsers - 1 - nPrevious);
}

}  // namespace vxt
