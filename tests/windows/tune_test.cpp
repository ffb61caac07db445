// Searches whose host dies: what Windows keeps of them, and how the host that it starts then goes on. On the machine desktop-b:
// any reference clock from 200 MHz by 1, good for 230, hangs from 241 on.
#include <fstream>
#include <sstream>

#include "host_test.h"
#include "tuning_host.h"

using namespace vxtapi;

namespace {

constexpr const wchar_t* kRunOnceKey = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunOnce";
constexpr const char *kNotes = "notes", *kStandStill = "stand_still";
constexpr DWORD kHungPc = 137;

/// Writes a search down, a line for each clock: "205 passed". Stands still at the clock that the file kStandStill names.
struct CNotes final : CTuneObserver {
    std::ofstream m_Notes{kNotes};
    double m_dLast = 0;

    CNotes() { std::ifstream(kStandStill) >> m_dLast; }
    void OnPoint(const TunePoint* pPoint) override {
        if (pPoint->uState == kTunePassed) m_Notes << pPoint->dReferenceClock << " passed" << std::endl;
        if (pPoint->uState == kTuneFails) m_Notes << pPoint->dReferenceClock << " failed" << std::endl;
        if (pPoint->uState == kTuneTests && pPoint->dReferenceClock == m_dLast) {
            m_Notes << "stands still" << std::endl;
            Sleep(INFINITE);
        }
    }
};

std::string g_ReadNotes() {
    std::ostringstream Text;
    Text << std::ifstream(kNotes).rdbuf();
    return Text.str();
}

/// Runs a command line; `bKills`: until it stands still, which ends it. Its exit code.
DWORD g_Run(std::wstring sCommand, bool bKills = false) {
    STARTUPINFOW Start{};
    Start.cb = sizeof(Start);
    PROCESS_INFORMATION Process{};
    if (!CreateProcessW(nullptr, sCommand.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &Start, &Process))
        return STILL_ACTIVE;
    constexpr DWORD kMostMilliseconds = 90'000, kLook = 20;
    for (DWORD dwWaited = 0; dwWaited < kMostMilliseconds; dwWaited += kLook) {
        if (WaitForSingleObject(Process.hProcess, kLook) == WAIT_OBJECT_0) break;
        if (bKills && g_ReadNotes().ends_with("stands still\n")) break;
    }
    TerminateProcess(Process.hProcess, 1);  // of one that has ended: nothing
    WaitForSingleObject(Process.hProcess, INFINITE);
    DWORD dwExitCode = STILL_ACTIVE;
    GetExitCodeProcess(Process.hProcess, &dwExitCode);
    CloseHandle(Process.hProcess), CloseHandle(Process.hThread);
    return dwExitCode;
}

/// The command line that Windows keeps for the next logon, and then forgets; empty: none.
std::wstring g_RunOnce() {
    std::array<wchar_t, 300> szCommand{};
    DWORD dwBytes = sizeof(szCommand);
    return RegGetValueW(HKEY_CURRENT_USER, kRunOnceKey, L"VXT", RRF_RT_REG_SZ, nullptr, szCommand.data(), &dwBytes) ==
                   ERROR_SUCCESS
               ? szCommand.data()
               : L"";
}

class CTune : public CHostTest {
protected:
    void SetUp() override {
        CHostTest::SetUp();
        Forget();
    }
    void TearDown() override {
        Forget();
        CHostTest::TearDown();
    }
    static void Forget() {
        for (const char* const pszFile : {kNotes, kStandStill, "VXTConfig.xml"}) std::filesystem::remove(pszFile);
    }
    /// What the firmware says; `dSet` is set before.
    double Clock(double dSet = 0) {
        EXPECT_TRUE(m_Library->Init(false));
        auto& rClockGen = *static_cast<CClockGenerator*>(m_Library->DeviceManager()->GetDevice(kDeviceClockGen, 0));
        if (dSet != 0) { EXPECT_TRUE(rClockGen.SetExternalClock(dSet)); }
        const double dNow = rClockGen.GetExternalClock();
        m_Library->UnInit();
        return dNow;
    }
    static std::string Stored() {
        std::ostringstream Text;
        Text << std::ifstream("VXTConfig.xml").rdbuf();
        return Text.str();
    }
    const std::wstring m_sHost = L'"' + (g_InstallationFolder() / L"vxt_windows_tests.exe").wstring() + L"\" AutoTune";
};

TEST_F(CTune, AKilledSearchIsResumedByWhatWindowsStartsNext) {
    std::ofstream(kStandStill) << 214;
    EXPECT_EQ(g_Run(m_sHost, true), 1u) << g_ReadNotes();
    EXPECT_TRUE(g_ReadNotes().starts_with("201 passed\n202 passed\n")) << g_ReadNotes();
    EXPECT_EQ(Clock(), 214) << "what it died at";
    EXPECT_EQ(g_RunOnce(), (g_InstallationFolder() / L"vxt_windows_tests.exe").wstring() + L" AutoTune");
    EXPECT_NE(Stored().find("<CPUTune>213</CPUTune>"), std::string::npos) << Stored();

    std::filesystem::remove(kStandStill);
    Clock(200);  // the PC comes up
    EXPECT_EQ(g_Run(g_RunOnce()), DWORD{kTuneFailed});
    EXPECT_TRUE(g_ReadNotes().starts_with("205 passed\n210 passed\n211 passed\n")) << g_ReadNotes();
    EXPECT_TRUE(g_ReadNotes().ends_with("230 passed\n231 failed\n230 passed\n")) << g_ReadNotes();
    EXPECT_EQ(g_RunOnce(), L"") << "a search that ended is not started again";
    EXPECT_EQ(Clock(), 230);
    EXPECT_NE(Stored().find("<LastTuneStatus>3</LastTuneStatus>"), std::string::npos) << Stored();
}

TEST_F(CTune, AHungPcLeavesTheRunOnceValueAndComesUpWithItsOwnClock) {
    Clock(244);
    // Wine does not always let a process end itself here: then g_Run has done it, and what counts is what is left behind.
    const DWORD dwStatus = g_Run(m_sHost);
    EXPECT_TRUE(dwStatus == kHungPc || dwStatus == 1) << dwStatus << g_ReadNotes();
    EXPECT_NE(g_RunOnce(), L"");
    EXPECT_EQ(Clock(), 200);
    EXPECT_EQ(g_Run(g_RunOnce()), DWORD{kTuneFailed});
    EXPECT_EQ(Clock(), 230);
    EXPECT_EQ(g_RunOnce(), L"");
}

}  // namespace

std::optional<int> g_RunTuningHost(const std::string& sArgument) {
    if (sArgument != "AutoTune") return std::nullopt;
    const CLoadedLibrary Library;
    if (!Library.IsComplete() || !Library.Init(false)) return -1;
    CNotes Notes;
    CSystemTune& rTune = *Library.PerformanceControl()->GetSystemTune();
    rTune.SetObserver(&Notes);
    rTune.StartTune();
    rTune.SetObserver(nullptr);
    const int nStatus = rTune.GetStatus();
    Library.UnInit();
    return nStatus;
}
