// What the end-to-end tests look at from outside: the installation they run in, the driver's service, other processes.
#pragma once

#include <vxtapi/vxtapi.h>
#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// Folder of this program: the installation. It is the current directory too.
std::filesystem::path g_InstallationFolder();
/// The one driver file of a 64-bit system, whichever the width of the host.
std::filesystem::path g_DriverFile();

/// The library as a host gets it: loaded by name, its exports found by name.
class CLoadedLibrary {
public:
    explicit CLoadedLibrary(const wchar_t* pszFile = L"VXTAPI.dll") : m_hModule(LoadLibraryW(pszFile)) {
        _Find(Init, "InitVXTAPI"), _Find(UnInit, "UnInitVXTAPI"), _Find(DeviceManager, "GetDeviceManager");
        _Find(PerformanceControl, "GetPerformanceControl"), _Find(Log, "GetLog"),
            _Find(ProfileSettings, "GetProfileSettings");
        _Find(IsOcSupported, "IsBiosOCSupported"), _Find(IsWarningAccepted, "IsOverclockWarningAccepted");
    }
    ~CLoadedLibrary() { FreeLibrary(m_hModule); }
    CLoadedLibrary(const CLoadedLibrary&) = delete;

    /// The library and every export were found.
    bool IsComplete() const { return m_hModule && m_uFound == 8; }
    vxtapi::CCPU* Core(uint32_t uIndex) const {
        return static_cast<vxtapi::CCPU*>(DeviceManager()->GetDevice(vxtapi::kDeviceCpu, uIndex));
    }

    decltype(&InitVXTAPI) Init = nullptr;
    decltype(&UnInitVXTAPI) UnInit = nullptr;
    decltype(&GetDeviceManager) DeviceManager = nullptr;
    decltype(&GetPerformanceControl) PerformanceControl = nullptr;
    decltype(&GetLog) Log = nullptr;
    decltype(&GetProfileSettings) ProfileSettings = nullptr;
    decltype(&IsBiosOCSupported) IsOcSupported = nullptr;
    decltype(&IsOverclockWarningAccepted) IsWarningAccepted = nullptr;

private:
    template <class TFunction> void _Find(TFunction& rpFunction, const char* pszName) {
        const FARPROC pFound = m_hModule ? GetProcAddress(m_hModule, pszName) : nullptr;
        rpFunction = reinterpret_cast<TFunction>(reinterpret_cast<void*>(pFound));
        m_uFound += pFound != nullptr;
    }
    HMODULE m_hModule;
    unsigned m_uFound = 0;
};

/// The driver's service as the service manager describes it.
struct CServiceState {
    std::wstring sPath;
    DWORD dwType, dwStart, dwErrorControl, dwState;
};
std::optional<CServiceState> g_QueryDriverService();
void g_InstallDriverService(const std::wstring& sPath);
void g_RemoveDriverService();

/// Units left in the semaphore that counts the driver's users; nothing when it does not exist.
std::optional<long> g_FreeDriverUnits();

/// Who may use that semaphore: "deny SID" or "allow SID" for each entry of its access list.
std::vector<std::string> g_DriverUnitsAccess();

/// Another process that has started the library, or taken the mutex of the firmware's methods, and holds it; or that
/// starts and stops the library again and again (kStartAndStop with a number behind).
class CSecondHost {
public:
    static constexpr const char *kHoldLibrary = "--hold", *kHoldMutex = "--hold-mutex", *kStartAndStop = "--rounds=";

    /// Runs this program with that argument; returns when it has what it is to hold (or could not get it).
    explicit CSecondHost(const std::string& sWhat = kHoldLibrary);
    ~CSecondHost();
    bool IsStarted() const { return m_bStarted; }
    /// Lets it give back what it holds and ends it. Answers whether all went well.
    bool Stop();
    void Kill();
    /// What the program does with one of these arguments: its exit code.
    static std::optional<int> Run(const std::string& sWhat);

private:
    static bool _HoldWhileAsked(bool bHolds);

    PROCESS_INFORMATION m_Process{};
    HANDLE m_hToChild = nullptr, m_hFromChild = nullptr;
    bool m_bStarted = false;
};

/// Loads, starts, stops and unloads the library so many times. Answers how often it did not start, with the logs of those
/// starts on stderr.
int g_StartAndStop(int nRounds);
/// Of the test in which two processes do so; more for a long run.
inline int g_nStartRounds = 15;

/// A property of the first Win32_BIOS as the system tells it; empty for null.
std::wstring g_QueryBios(const wchar_t* pszProperty);

/// Text of every log file below the current directory, oldest first; `\r` never occurs in it.
std::string g_ReadLog();
std::vector<std::filesystem::path> g_LogFiles();
