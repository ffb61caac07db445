#include "installation.h"

#include <ole2.h>
#include <sddl.h>
#include <wbemcli.h>
#include <winternl.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <utility>

// Documented for driver writers only: a semaphore's counts without touching them.
extern "C" NTSTATUS NTAPI NtQuerySemaphore(HANDLE hSemaphore, int nClass, void* pInformation, ULONG ulSize,
                                           ULONG* pulReturned);

namespace {

constexpr const wchar_t* kService = L"VXTDriver";
constexpr const wchar_t* kSemaphore = L"Global\\VXTDriverSemaphore";

struct CServiceHandle {
    SC_HANDLE hHandle;
    ~CServiceHandle() {
        if (hHandle) CloseServiceHandle(hHandle);
    }
    operator SC_HANDLE() const { return hHandle; }
};

}  // namespace

std::filesystem::path g_InstallationFolder() {
    std::array<wchar_t, MAX_PATH> szPath{};
    GetModuleFileNameW(nullptr, szPath.data(), MAX_PATH);
    return std::filesystem::path(szPath.data()).parent_path();
}

std::filesystem::path g_DriverFile() { return g_InstallationFolder() / L"qor64" / L"VXTDriver.sys"; }

std::optional<CServiceState> g_QueryDriverService() {
    const CServiceHandle hManager{OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT)};
    const CServiceHandle hService{OpenServiceW(hManager, kService, SERVICE_QUERY_CONFIG | SERVICE_QUERY_STATUS)};
    alignas(QUERY_SERVICE_CONFIGW) std::array<BYTE, 8192> Buffer{};
    auto* const pConfig = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(Buffer.data());
    DWORD dwNeeded = 0;
    SERVICE_STATUS Status{};
    if (!hService || !QueryServiceConfigW(hService, pConfig, static_cast<DWORD>(Buffer.size()), &dwNeeded) ||
        !QueryServiceStatus(hService, &Status))
        return std::nullopt;
    return CServiceState{pConfig->lpBinaryPathName, pConfig->dwServiceType, pConfig->dwStartType,
                         pConfig->dwErrorControl, Status.dwCurrentState};
}

void g_InstallDriverService(const std::wstring& sPath) {
    const CServiceHandle hManager{OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)};
    const CServiceHandle hService{CreateServiceW(hManager, kService, kService, SERVICE_ALL_ACCESS,
                                                 SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                                                 sPath.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr)};
}

void g_RemoveDriverService() {
    {
        const CServiceHandle hManager{OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)};
        const CServiceHandle hService{OpenServiceW(hManager, kService, SERVICE_ALL_ACCESS)};
        SERVICE_STATUS Status{};
        ControlService(hService, SERVICE_CONTROL_STOP, &Status);
        DeleteService(hService);
    }
    for (int i = 0; i < 500 && g_QueryDriverService(); ++i) Sleep(10);  // it goes when it has stopped
}

std::optional<long> g_FreeDriverUnits() {
    const HANDLE hSemaphore = OpenSemaphoreW(SEMAPHORE_ALL_ACCESS, FALSE, kSemaphore);
    if (!hSemaphore) return std::nullopt;
    struct {  // SEMAPHORE_BASIC_INFORMATION
        LONG lCurrent, lMaximum;
    } Counts{};
    const NTSTATUS lStatus = NtQuerySemaphore(hSemaphore, 0, &Counts, sizeof(Counts), nullptr);
    CloseHandle(hSemaphore);
    return NT_SUCCESS(lStatus) ? std::optional(Counts.lCurrent) : std::nullopt;
}

std::vector<std::string> g_DriverUnitsAccess() {
    std::vector<std::string> Access;
    const HANDLE hSemaphore = OpenSemaphoreW(READ_CONTROL, FALSE, kSemaphore);
    alignas(SECURITY_DESCRIPTOR) std::array<BYTE, 1024> Buffer{};
    DWORD dwNeeded = 0;
    BOOL bPresent = FALSE, bDefaulted = FALSE;
    ACL* pList = nullptr;
    GetKernelObjectSecurity(hSemaphore, DACL_SECURITY_INFORMATION, Buffer.data(), static_cast<DWORD>(Buffer.size()),
                            &dwNeeded);
    GetSecurityDescriptorDacl(Buffer.data(), &bPresent, &pList, &bDefaulted);
    CloseHandle(hSemaphore);
    for (DWORD i = 0; bPresent && pList && i < pList->AceCount; ++i) {
        void* pEntry = nullptr;
        char* pszSid = nullptr;
        GetAce(pList, i, &pEntry);
        auto* const pAllowed = static_cast<ACCESS_ALLOWED_ACE*>(pEntry);  // a denying entry is laid out alike
        ConvertSidToStringSidA(&pAllowed->SidStart, &pszSid);
        Access.push_back((pAllowed->Header.AceType == ACCESS_DENIED_ACE_TYPE ? "deny " : "allow ") +
                         std::string(pszSid));
        LocalFree(pszSid);
    }
    return Access;
}

CSecondHost::CSecondHost(const std::string& sWhat) {
    SECURITY_ATTRIBUTES Inherit{sizeof(Inherit), nullptr, TRUE};
    HANDLE hChildIn = nullptr, hChildOut = nullptr;
    CreatePipe(&hChildIn, &m_hToChild, &Inherit, 0);
    CreatePipe(&m_hFromChild, &hChildOut, &Inherit, 0);
    // Our ends stay ours: a child that held them too would never see ours close.
    SetHandleInformation(m_hToChild, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(m_hFromChild, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW Startup{};
    Startup.cb = sizeof(Startup);
    Startup.dwFlags = STARTF_USESTDHANDLES;
    Startup.hStdInput = hChildIn;
    Startup.hStdOutput = hChildOut;
    Startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    std::array<wchar_t, MAX_PATH> szProgram{};
    GetModuleFileNameW(nullptr, szProgram.data(), MAX_PATH);
    std::wstring sCommand = L"\"" + std::wstring(szProgram.data()) + L"\" " + std::wstring(sWhat.begin(), sWhat.end());
    CreateProcessW(nullptr, sCommand.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &Startup, &m_Process);
    CloseHandle(hChildIn);
    CloseHandle(hChildOut);
    char cAnswer = 0;
    DWORD dwRead = 0;
    m_bStarted = ReadFile(m_hFromChild, &cAnswer, 1, &dwRead, nullptr) && dwRead == 1 && cAnswer == '1';
}

CSecondHost::~CSecondHost() {
    Kill();
    for (const HANDLE hHandle : {m_hToChild, m_hFromChild}) CloseHandle(hHandle);
}

bool CSecondHost::Stop() {
    CloseHandle(std::exchange(m_hToChild, nullptr));  // the end of its input is its sign
    WaitForSingleObject(m_Process.hProcess, INFINITE);
    DWORD dwExitCode = 1;
    GetExitCodeProcess(m_Process.hProcess, &dwExitCode);
    Kill();
    return dwExitCode == 0;
}

void CSecondHost::Kill() {
    if (!m_Process.hProcess) return;
    TerminateProcess(m_Process.hProcess, 1);
    WaitForSingleObject(m_Process.hProcess, INFINITE);
    CloseHandle(m_Process.hProcess);
    CloseHandle(m_Process.hThread);
    m_Process = {};
}

bool CSecondHost::_HoldWhileAsked(bool bHolds) {
    const char cAnswer = bHolds ? '1' : '0';
    DWORD dwCount = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), &cAnswer, 1, &dwCount, nullptr);
    char cIgnored = 0;
    while (ReadFile(GetStdHandle(STD_INPUT_HANDLE), &cIgnored, 1, &dwCount, nullptr) && dwCount) {}
    return bHolds;
}

std::optional<int> CSecondHost::Run(const std::string& sWhat) {
    if (sWhat == kHoldLibrary) {
        const CLoadedLibrary Library;
        const bool bHeld = _HoldWhileAsked(Library.IsComplete() && Library.Init(false));
        return Library.UnInit() && bHeld ? 0 : 1;
    }
    if (sWhat == kHoldMutex) {
        const HANDLE hMutex = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, L"VXT_WMI_HANDLER_MUTEX");
        const bool bHeld = _HoldWhileAsked(WaitForSingleObject(hMutex, 0) == WAIT_OBJECT_0);
        return ReleaseMutex(hMutex) && bHeld ? 0 : 1;
    }
    if (sWhat.starts_with(kStartAndStop)) {
        DWORD dwCount = 0;
        WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), "1", 1, &dwCount, nullptr);
        const std::filesystem::path Folder = g_InstallationFolder() / L"second host";  // for a log of its own
        std::filesystem::create_directory(Folder);
        std::filesystem::current_path(Folder);
        return g_StartAndStop(std::stoi(sWhat.substr(std::strlen(kStartAndStop)))) == 0 ? 0 : 1;
    }
    return std::nullopt;
}

int g_StartAndStop(int nRounds) {
    int nFailed = 0;
    for (int i = 0; i < nRounds; ++i) {
        const CLoadedLibrary Library;
        if (!Library.Init(true)) {
            ++nFailed;
            std::cerr << "round " << i << " of " << std::filesystem::current_path() << ":\n" << g_ReadLog();
        }
        Library.UnInit();
        std::filesystem::remove_all("Logs");
    }
    return nFailed;
}

std::wstring g_QueryBios(const wchar_t* pszProperty) {
    std::wstring sValue;
    CoInitialize(nullptr);
    IWbemLocator* pLocator = nullptr;
    IWbemServices* pServices = nullptr;
    IEnumWbemClassObject* pEnumerator = nullptr;
    IWbemClassObject* pBios = nullptr;
    ULONG ulCount = 0;
    VARIANT Value;
    VariantInit(&Value);
    const BSTR pszNamespace = SysAllocString(L"root\\cimv2"), pszLanguage = SysAllocString(L"WQL"),
               pszQuery = SysAllocString(L"SELECT * FROM Win32_BIOS");
    CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                     reinterpret_cast<void**>(&pLocator));
    if (pLocator) pLocator->ConnectServer(pszNamespace, nullptr, nullptr, nullptr, 0, nullptr, nullptr, &pServices);
    if (pServices) pServices->ExecQuery(pszLanguage, pszQuery, WBEM_FLAG_FORWARD_ONLY, nullptr, &pEnumerator);
    if (pEnumerator) pEnumerator->Next(2000, 1, &pBios, &ulCount);
    if (pBios && SUCCEEDED(pBios->Get(pszProperty, 0, &Value, nullptr, nullptr)) && Value.vt == VT_BSTR)
        sValue = Value.bstrVal;
    VariantClear(&Value);
    for (IUnknown* const pObject : std::initializer_list<IUnknown*>{pBios, pEnumerator, pServices, pLocator})
        if (pObject) pObject->Release();
    for (const BSTR pszText : {pszNamespace, pszLanguage, pszQuery}) SysFreeString(pszText);
    CoUninitialize();
    return sValue;
}

std::vector<std::filesystem::path> g_LogFiles() {
    std::vector<std::filesystem::path> Files;
    if (!std::filesystem::exists("Logs")) return Files;
    for (const auto& rEntry : std::filesystem::recursive_directory_iterator("Logs"))
        if (rEntry.is_regular_file()) Files.push_back(rEntry.path());
    std::ranges::sort(Files);
    return Files;
}

std::string g_ReadLog() {
    std::ostringstream Text;
    for (const std::filesystem::path& rFile : g_LogFiles()) Text << std::ifstream(rFile, std::ios::binary).rdbuf();
    return Text.str();
}
