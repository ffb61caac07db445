// Start and end: the driver's service, its users in several processes, and what a failing start leaves behind.
#include <algorithm>
#include <fstream>
#include <functional>
#include <sstream>

#include "host_test.h"

namespace {

constexpr long kAllUnits = 10000;

class CStart : public CHostTest {};

/// Expressions and functions of the failed checks in the log, in order: "expression in function".
std::vector<std::string> g_FailedChecks() {
    static const std::regex s_Line(R"(_ERROR\((.*)\) at line \d+ in (\S+))");
    const std::string sLog = g_ReadLog();
    std::vector<std::string> Checks;
    for (std::sregex_iterator it(sLog.begin(), sLog.end(), s_Line), itEnd; it != itEnd; ++it)
        Checks.push_back((*it)[1].str() + " in " + (*it)[2].str());
    return Checks;
}

TEST_F(CStart, TheDriverServiceLivesWhileTheLibraryRuns) {
    ASSERT_TRUE(m_Library->Init(false));
    const auto Service = g_QueryDriverService();
    ASSERT_TRUE(Service);
    EXPECT_TRUE(Service->sPath.ends_with(L"\\qor64\\VXTDriver.sys"));
    EXPECT_EQ(Service->dwType, DWORD{SERVICE_KERNEL_DRIVER});
    EXPECT_EQ(Service->dwStart, DWORD{SERVICE_DEMAND_START});
    EXPECT_EQ(Service->dwErrorControl, DWORD{SERVICE_ERROR_NORMAL});
    EXPECT_EQ(Service->dwState, DWORD{SERVICE_RUNNING});
    EXPECT_EQ(g_FreeDriverUnits(), kAllUnits - 1);

    EXPECT_TRUE(m_Library->UnInit());
    EXPECT_FALSE(g_QueryDriverService());
    EXPECT_FALSE(g_FreeDriverUnits());
}

TEST_F(CStart, TheRegistryNamesTheDriverFileOfTheInstallation) {
    ASSERT_TRUE(m_Library->Init(false));
    wchar_t szPath[MAX_PATH]{};
    DWORD dwSize = sizeof(szPath);
    ASSERT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, L"System\\CurrentControlSet\\Services\\VXTDriver", L"ImagePath",
                           RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, nullptr, szPath, &dwSize),
              ERROR_SUCCESS);
    EXPECT_TRUE(std::wstring(szPath).ends_with(g_DriverFile().wstring())) << std::filesystem::path(szPath);
}

TEST_F(CStart, TheCountOfUsersIsClosedToGuestsAndAnonymousUsers) {
    ASSERT_TRUE(m_Library->Init(false));
    const std::vector<std::string> Expected{"deny S-1-5-32-546", "deny S-1-5-7", "allow S-1-5-11",
                                            "allow S-1-5-32-544"};
    EXPECT_EQ(g_DriverUnitsAccess(), Expected);
}

TEST_F(CStart, AStaleServiceOfAnotherFolderIsReplaced) {
    g_InstallDriverService(L"C:\\gone\\qor64\\VXTDriver.sys");
    ASSERT_TRUE(m_Library->Init(false));
    EXPECT_TRUE(g_QueryDriverService()->sPath.ends_with(g_DriverFile().wstring()));
}

// Kept: the firmware's tables of the first start are still filed, which ends their second reading. So the ECAM base is
// unknown then, and the processors, which need two of the tables, are missing until the library is loaded anew.
TEST_F(CStart, ASecondStartInOneLoadGoesOnWithoutFirmwareTables) {
    ASSERT_TRUE(m_Library->Init(false));
    EXPECT_NE(m_Library->Core(0), nullptr);
    EXPECT_TRUE(m_Library->UnInit());
    EXPECT_EQ(m_Library->DeviceManager()->GetDeviceTypeCount(), 0u);

    ASSERT_TRUE(m_Library->Init(false));
    EXPECT_NE(m_Library->DeviceManager()->GetDevice(vxtapi::kDeviceBoard, 0), nullptr);
    EXPECT_EQ(m_Library->Core(0), nullptr);
    EXPECT_TRUE(m_Library->UnInit());
    EXPECT_FALSE(g_QueryDriverService());
}

TEST_F(CStart, TheLastOfTwoProcessesRemovesTheDriver) {
    for (const bool bFirstStaysLonger : {true, false}) {
        SCOPED_TRACE(bFirstStaysLonger ? "the first process stays longer" : "the second process stays longer");
        Load();
        ASSERT_TRUE(m_Library->Init(false));
        const std::wstring sPath = g_QueryDriverService()->sPath;
        CSecondHost Second;
        ASSERT_TRUE(Second.IsStarted());
        EXPECT_EQ(g_FreeDriverUnits(), kAllUnits - 2);

        EXPECT_TRUE(bFirstStaysLonger ? Second.Stop() : m_Library->UnInit());
        EXPECT_EQ(g_FreeDriverUnits(), kAllUnits - 1);
        ASSERT_TRUE(g_QueryDriverService());
        EXPECT_EQ(g_QueryDriverService()->dwState, DWORD{SERVICE_RUNNING});
        EXPECT_EQ(g_QueryDriverService()->sPath, sPath);

        EXPECT_TRUE(bFirstStaysLonger ? m_Library->UnInit() : Second.Stop());
        EXPECT_FALSE(g_QueryDriverService());
    }
}

TEST_F(CStart, AProcessKilledAloneDoesNotStopTheNextStart) {
    {
        CSecondHost Second;
        ASSERT_TRUE(Second.IsStarted());
        Second.Kill();
    }
    EXPECT_TRUE(g_QueryDriverService()) << "nobody was left to remove it";
    EXPECT_FALSE(g_FreeDriverUnits()) << "the count goes with its last process";
    ASSERT_TRUE(m_Library->Init(false));
    EXPECT_NE(m_Library->Core(0), nullptr);
    EXPECT_EQ(g_FreeDriverUnits(), kAllUnits - 1);
    EXPECT_TRUE(m_Library->UnInit());
    EXPECT_FALSE(g_QueryDriverService());
}

TEST_F(CStart, AProcessKilledBesideAnotherLeavesTheDriverToTheNextStart) {
    ASSERT_TRUE(m_Library->Init(false));
    {
        CSecondHost Second;
        ASSERT_TRUE(Second.IsStarted());
        Second.Kill();
    }
    EXPECT_EQ(g_FreeDriverUnits(), kAllUnits - 2) << "a killed process gives nothing back";
    EXPECT_TRUE(m_Library->UnInit());
    EXPECT_TRUE(g_QueryDriverService()) << "the second process still counts";

    Load();
    ASSERT_TRUE(m_Library->Init(false));
    EXPECT_NE(m_Library->Core(0), nullptr);
    EXPECT_EQ(g_FreeDriverUnits(), kAllUnits - 1);
    EXPECT_TRUE(m_Library->UnInit());
    EXPECT_FALSE(g_QueryDriverService());
}

// Each start finds the driver absent, running, stopping or going away, as the other process has it just then.
TEST_F(CStart, TwoProcessesThatStartAndStopAllTheTimeDoNotDisturbEachOther) {
    m_Library.reset();
    CSecondHost Second(CSecondHost::kStartAndStop + std::to_string(g_nStartRounds));
    ASSERT_TRUE(Second.IsStarted());
    EXPECT_EQ(g_StartAndStop(g_nStartRounds), 0);
    EXPECT_TRUE(Second.Stop()) << "the second process failed to start in some round";
    EXPECT_FALSE(g_QueryDriverService());
    EXPECT_FALSE(g_FreeDriverUnits());
    Load();  // for the end of the test
}

TEST_F(CStart, ADriverThatCannotStartFailsTheLibraryAndTheLogSaysWhy) {
    const std::filesystem::path Driver = g_DriverFile(), Away = L"VXTDriver.away";
    const std::filesystem::path Machine = L"qor64\\VXTDriver.machine", Error = L"qor64\\VXTDriver.error";
    const auto Hide = [&] { std::filesystem::rename(Driver, Away); };
    const auto Restore = [&] { std::filesystem::rename(Away, Driver); };
    const auto Spoil = [&] { std::ofstream(Machine) << "[machine]\nthis is not a machine\n"; };
    const auto Mend = [&] {
        std::ostringstream Reason;
        Reason << std::ifstream(Error).rdbuf();
        EXPECT_NE(Reason.str().find("VXTDriver.machine:2: expected"), std::string::npos) << Reason.str();
        std::filesystem::remove(Error);
        std::filesystem::remove(Machine);
    };
    const struct {
        const char* pszCase;
        std::function<void()> Break, Repair;
    } kCases[] = {{"no driver file", Hide, Restore}, {"a driver that refuses to start", Spoil, Mend}};
    for (const auto& [pszCase, Break, Repair] : kCases) {
        SCOPED_TRACE(pszCase);
        Break();
        EXPECT_FALSE(m_Library->Init(true));
        Repair();
        EXPECT_EQ(m_Library->DeviceManager()->GetDeviceTypeCount(), 0u);
        EXPECT_TRUE(m_Library->UnInit());
        EXPECT_TRUE(LogHas("<4>: Try to install VXT driver\n"));
        EXPECT_TRUE(LogHas("<2>: StartDriver: error code returned from StartService is: [1-9]"));
        const std::vector<std::string> Checks = g_FailedChecks();
        // One fault leaves a chain of lines, from the open that decides up to the export.
        auto itCheck = Checks.begin();
        for (const char* pszExpected : {"m_hDriver != INVALID_HANDLE_VALUE in CDriverHandler",
                                        "bRetCode in g_InitEngine", "bRetCode in InitVXTAPI"}) {
            itCheck = std::find_if(itCheck, Checks.end(),
                                   [&](const std::string& rsCheck) { return rsCheck.starts_with(pszExpected); });
            EXPECT_NE(itCheck, Checks.end()) << pszExpected << " in " << g_ReadLog();
        }
        std::filesystem::remove_all("Logs");
    }
    ASSERT_TRUE(m_Library->Init(false)) << "the next start, with a good driver";
}

}  // namespace
