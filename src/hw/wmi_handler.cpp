#include "hw/wmi_handler.h"

#include <memory>
#include <mutex>

#include "api/log/log_checks.h"
#include "hw/named_object_security.h"
#include "platform/named_objects.h"
#include "registers/no_throw.h"
#include "registers/scope_exit.h"

namespace vxt {

using platform::CWmiObject;
using platform::WmiValue;

namespace {

constexpr const wchar_t* kMutexName = L"VXT_WMI_HANDLER_MUTEX";
constexpr uint32_t kMutexMilliseconds = 5000;
constexpr uint32_t kInstanceMilliseconds = 2000;
constexpr uint32_t kInstanceFlags = 0x221;  ///< WBEM_FLAG_DIRECT_READ, _FORWARD_ONLY and _SHALLOW

/// The process's handle of the mutex: one for all connections, open while there is one. A call keeps the handle that it
/// waits with, whatever other threads connect or disconnect meanwhile.
class CMethodMutex {
public:
    using CHandle = std::shared_ptr<const platform::CMutexHandle>;

    void CountConnection() {
        const std::lock_guard Guard(m_Lock);
        ++m_uConnections;
    }
    void ForgetConnection() {
        const std::lock_guard Guard(m_Lock);
        if (--m_uConnections == 0) m_pHandle.reset();
    }
    /// False when there is no memory for it: the handle that was there stays.
    bool Set(platform::CMutexHandle& rhMutex) {
        const std::lock_guard Guard(m_Lock);
        return g_NoThrow([&] { m_pHandle = std::make_shared<const platform::CMutexHandle>(std::move(rhMutex)); });
    }
    /// Never null; the handle is none before the first connection.
    CHandle Get() {
        const std::lock_guard Guard(m_Lock);
        return m_pHandle ? m_pHandle : CHandle(CHandle(), &m_None);
    }

private:
    const platform::CMutexHandle m_None{};
    std::mutex m_Lock;
    CHandle m_pHandle;
    uint32_t m_uConnections = 0;
};
CMethodMutex s_MethodMutex;

}  // namespace

// Interfaces are let go by Disconnect alone: when the library is unloaded COM may be gone.
CWmiHandler::~CWmiHandler() { (void)m_pIWbemServices.Release(); }

bool CWmiHandler::Connect(const wchar_t* pszNamespace) {
    LOG_PROCESS_ERROR(!m_pIWbemServices, "m_pIWbemServices == NULL");
    platform::CWmiLocator pLocator;
    int32_t hRetCode = platform::CreateWmiLocator(pLocator);
    LOG_COM_PROCESS_ERROR(hRetCode);
    hRetCode = platform::ConnectWmiServer(pLocator, pszNamespace, m_pIWbemServices);
    LOG_COM_PROCESS_ERROR(hRetCode);
    s_MethodMutex.CountConnection();
    if (platform::SetWmiProxyBlanket(m_pIWbemServices) < 0) return false;

    platform::CMutexHandle hWMIMutex = platform::OpenMutex(kMutexName);
    if (!hWMIMutex) hWMIMutex = platform::CreateMutex(kMutexName, kNamedObjectSecurity);
    LOG_PROCESS_ERROR(hWMIMutex);
    const bool bRetCode = s_MethodMutex.Set(hWMIMutex);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CWmiHandler::Disconnect() {
    if (!m_pIWbemServices) return true;
    m_pIWbemServices.Reset();
    s_MethodMutex.ForgetConnection();
    return true;
}

CWmiObject CWmiHandler::GetObjectW(const wchar_t* pszObjectName) {
    LOG_PROCESS_ERROR(pszObjectName);
    LOG_PROCESS_ERROR(m_pIWbemServices);
    CWmiObject pObject;
    return platform::GetWmiObject(m_pIWbemServices, pszObjectName, pObject) < 0 ? CWmiObject() : std::move(pObject);
}

CWmiObject CWmiHandler::GetInstance(const wchar_t* pszClassName, int32_t nIndex) {
    LOG_PROCESS_ERROR(pszClassName);
    LOG_PROCESS_ERROR(m_pIWbemServices);
    platform::CWmiEnumerator pEnumerator;
    const int32_t hRetCode =
        platform::CreateWmiInstanceEnum(m_pIWbemServices, pszClassName, kInstanceFlags, pEnumerator);
    LOG_COM_PROCESS_ERROR(hRetCode);
    for (int32_t nInstance = 0;; ++nInstance) {
        CWmiObject pInstance = platform::NextWmiInstance(pEnumerator, kInstanceMilliseconds);
        if (!pInstance || nInstance == nIndex) return pInstance;
    }
}

bool CWmiHandler::GetPropertyValue(const CWmiObject& pObject, const wchar_t* pszPropertyName,
                                   WmiValue* pvaPropertyValue) {
    LOG_PROCESS_ERROR(pObject);
    LOG_PROCESS_ERROR(pszPropertyName);
    LOG_PROCESS_ERROR(pvaPropertyValue);
    LOG_PROCESS_ERROR(m_pIWbemServices);
    const int32_t hRetCode = platform::GetWmiProperty(pObject, pszPropertyName, *pvaPropertyValue);
    LOG_COM_PROCESS_ERROR(hRetCode);
    return true;
}

bool CWmiHandler::CallMethod(const wchar_t* pszClassName, const wchar_t* pszMethodName, const wchar_t* pszInParamName,
                             const WmiValue* pInValue, const wchar_t* pszOutParamName, WmiValue* pOutValue) {
    const CMethodMutex::CHandle pMutex = s_MethodMutex.Get();
    const uint32_t ulWaitResult = platform::WaitMutex(*pMutex, kMutexMilliseconds);
    // Also after a failed wait: a mutex whose owner died is ours, though the wait does not count as good.
    const CScopeExit Release([&] { platform::ReleaseMutex(*pMutex); });
    LOG_PROCESS_ERROR(ulWaitResult == platform::kWaitObject0, "ulWaitResult == WAIT_OBJECT_0");
    LOG_PROCESS_ERROR(m_pIWbemServices);
    LOG_PROCESS_ERROR(pszMethodName);

    const CWmiObject pClass = GetObject(pszClassName);
    if (!pClass) return false;  // a machine without this firmware
    WmiValue Static;
    int32_t hr = platform::GetWmiMethodQualifier(pClass, pszMethodName, L"Static", Static);
    LOG_COM_PROCESS_ERROR(hr);
    const bool* const pbStatic = std::get_if<bool>(&Static);
    CWmiObject pInstance;
    if (!pbStatic || !*pbStatic) {
        pInstance = GetInstance(pszClassName, 0);
        LOG_PROCESS_ERROR(pInstance);
    }
    WmiValue Path;
    const bool bRetCode = GetPropertyValue(pInstance ? pInstance : pClass, L"__PATH", &Path);
    LOG_PROCESS_ERROR(bRetCode);
    const std::wstring* const psPath = std::get_if<std::wstring>(&Path);
    LOG_PROCESS_ERROR(psPath);

    CWmiObject pInput, pOutput;
    if (pszInParamName && pInValue) {
        hr = platform::SpawnWmiMethodInput(pClass, pszMethodName, pInput);
        LOG_COM_PROCESS_ERROR(hr);
        hr = platform::PutWmiProperty(pInput, pszInParamName, *pInValue);
        LOG_COM_PROCESS_ERROR(hr);
    }
    if (platform::ExecuteWmiMethod(m_pIWbemServices, psPath->c_str(), pszMethodName, pInput, pOutput) < 0) return false;
    if (!pOutput || !pszOutParamName || !pOutValue) return true;
    hr = platform::GetWmiProperty(pOutput, pszOutParamName, *pOutValue);
    LOG_COM_PROCESS_ERROR(hr);
    return true;
}

CWmiHandler& g_GetSystemWmi() {
    static CWmiHandler s_Handler;
    return s_Handler;
}

CWmiHandler& g_GetFirmwareWmi() {
    static CWmiHandler s_Handler;
    return s_Handler;
}

}  // namespace vxt
