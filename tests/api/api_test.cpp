// The eight exports as a host sees them.
#include <gmock/gmock.h>
#include <vxtapi/vxtapi.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "api/engine.h"
#include "api/log/log.h"
#include "firmware/acpi_table.h"
#include "hw/driver_handler.h"
#include "support/simulated_pc.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using vxttest::g_CheckError;
using vxttest::g_ProcessError;
using vxttest::Lines;

struct CApiTest : vxttest::CSimulatedPc {
    ~CApiTest() override {
        System().StopFailing();
        UnInitVXTAPI();
    }
};

// Must be the first test of the file that starts the library: the answer never goes back.
TEST_F(CApiTest, BeforeTheFirstStartTheBiosAnswerIsNoAnswer) {
    bool bSupported = true;
    EXPECT_FALSE(IsBiosOCSupported(&bSupported));
    EXPECT_TRUE(bSupported) << "untouched";
    EXPECT_NE(GetDeviceManager(), nullptr);
    EXPECT_EQ(GetDeviceManager()->GetDeviceTypeCount(), 0u);
    EXPECT_NE(GetPerformanceControl(), nullptr);
    EXPECT_NE(GetProfileSettings(), nullptr);
    EXPECT_TRUE(GetLog()->WriteLog(4, "hosts may write"));
    ASSERT_TRUE(InitVXTAPI(false));
    EXPECT_FALSE(IsBiosOCSupported(nullptr));
}

TEST_F(CApiTest, AStartFindsTheMachineAndAShutDownLeavesNothing) {
    ASSERT_TRUE(InitVXTAPI(true));
    EXPECT_EQ(GetDeviceManager()->GetDeviceCount(vxtapi::kDeviceCpu), 4u);
    EXPECT_NE(GetDeviceManager()->GetDevice(vxtapi::kDeviceBoard, 0), nullptr);
    EXPECT_EQ(GetDeviceManager(), GetDeviceManager());
    bool bSupported = true;
    EXPECT_TRUE(IsBiosOCSupported(&bSupported));
    EXPECT_TRUE(bSupported);
    GetLog()->WriteLog(2, "a host's %s", "line");
    const Lines Log = m_Log.Take();
    EXPECT_THAT(Log, Contains("4 Engine library initialized successfully."));
    EXPECT_THAT(Log, Contains("4 Added device QOR Family 10h Processor."));
    EXPECT_THAT(Log, Contains("4 Failed to initialize device QOR64 Family Processor."));
    EXPECT_THAT(Log, Contains("2 a host's line"));

    EXPECT_TRUE(UnInitVXTAPI());
    EXPECT_EQ(GetDeviceManager()->GetDeviceTypeCount(), 0u);
    EXPECT_THAT(System().m_Handles, IsEmpty());
    EXPECT_THAT(System().m_Services, IsEmpty());
    EXPECT_EQ(Machine().MappingCount(), 0u);
    EXPECT_TRUE(IsBiosOCSupported(&bSupported)) << "kept: still answered after shut-down";
    EXPECT_FALSE(bSupported);
}

TEST_F(CApiTest, OverclockingIsSupportedWhereTheFirmwareOffersAClockGenerator) {
    const struct {
        const char* pszMachine;
        std::function<void(vxtsim::CMachineDescription&)> Change;
        bool bSupported;
    } kCases[] = {
        {"family10h-ddr3", {}, true},
        {"family10h-ddr3", [](auto& rMachine) { rMachine.oFirmware.reset(); }, false},
        {"family10h-ddr3", [](auto& rMachine) { rMachine.oFirmware->Answers["Init"].bFails = true; }, false},
        {"k8-revf-dual", {}, false},
    };
    for (const auto& [pszMachine, Change, bExpected] : kCases) {
        Start(pszMachine, Change);
        ASSERT_TRUE(InitVXTAPI(false)) << "firmware is no condition for a start";
        bool bSupported = !bExpected;
        EXPECT_TRUE(IsBiosOCSupported(&bSupported));
        EXPECT_EQ(bSupported, bExpected) << pszMachine;
        EXPECT_EQ(GetDeviceManager()->GetDevice(vxtapi::kDeviceCustomerPwm, 0) != nullptr, bExpected);
        EXPECT_NE(GetDeviceManager()->GetDevice(vxtapi::kDeviceBios, 0), nullptr) << "the system tells that";
        UnInitVXTAPI();
    }
}

TEST_F(CApiTest, AStartWithoutFirmwareSaysSoAndGoesOn) {
    Start(kDefaultMachine, [](auto& rMachine) { rMachine.oFirmware.reset(); });
    ASSERT_TRUE(vxt::g_InitEngine());
    const Lines Errors = m_Log.TakeErrors();
    const std::string sCheck = g_CheckError("bRetCode", "g_InitEngine");
    EXPECT_EQ(std::ranges::count(Errors, sCheck), 4) << "command object, handler, setup items, board information";
    EXPECT_THAT(Errors, Contains(g_ProcessError("m_uVersion == 0", "CQORBIOS::Init")));
    EXPECT_TRUE(vxt::g_UnInitEngine());
    EXPECT_THAT(System().m_Handles, IsEmpty());
}

TEST_F(CApiTest, EverySecondStartOfAProcessFindsNoTables) {
    // Kept: the table reader refuses to start over a map that it filled before, and empties it. So the second start has
    // no ECAM window and no processor timers; the third is like the first.
    for (const uint32_t uCpus : {4u, 0u, 4u}) {
        ASSERT_TRUE(InitVXTAPI(false));
        EXPECT_EQ(GetDeviceManager()->GetDeviceCount(vxtapi::kDeviceCpu), uCpus);
        EXPECT_NE(GetDeviceManager()->GetDevice(vxtapi::kDeviceBoard, 0), nullptr);
        UnInitVXTAPI();
    }
}

TEST_F(CApiTest, WithoutLogNothingIsWritten) {
    vxt::g_GetLog().Init("VXTAPI", 0, 0, 0);  // as after load
    std::filesystem::remove_all("Logs");
    ASSERT_TRUE(InitVXTAPI(false));
    UnInitVXTAPI();
    EXPECT_FALSE(std::filesystem::exists("Logs"));
}

TEST_F(CApiTest, WithoutADriverTheStartFailsWithAChainOfLines) {
    System().m_bHasRights = false;
    EXPECT_FALSE(InitVXTAPI(true));
    const Lines Errors = m_Log.TakeErrors();
    ASSERT_GE(Errors.size(), 3u);
    EXPECT_THAT(Errors, Contains(g_ProcessError("m_hDriver != INVALID_HANDLE_VALUE", "CDriverHandler::Init")));
    EXPECT_THAT(Errors, Contains(g_ProcessError("bRetCode", "g_InitEngine")));
    EXPECT_EQ(Errors.back(), g_ProcessError("bRetCode", "InitVXTAPI"));
    EXPECT_THAT(System().m_Handles, IsEmpty());
    EXPECT_THAT(TakeTrace(), Not(Contains("CreateWmiLocator"))) << "nothing after it is tried";
}

TEST_F(CApiTest, TheOverclockWarningIsReadFromTheUsersRegistry) {
    const std::string sValue = "HKCU\\Software\\QOR\\QOR Velomar!UserAccepted";
    const struct {
        const char* pszCase;
        const char* pszKey;
        const char* pszValue;
        bool bAccepted;
    } kCases[] = {
        {"accepted", sValue.c_str(), "dword:1", true},
        {"another number", sValue.c_str(), "dword:2", false},
        {"a longer text", sValue.c_str(), "sz:1 yes", false},
        {"a text of four bytes is read as it is", sValue.c_str(), "sz:1", false},
        {"only the key exists", "HKCU\\Software\\QOR\\QOR Velomar!Other", "dword:1", false},
        {"no key", "HKCU\\Software\\QOR\\Other!UserAccepted", "dword:1", false},
    };
    for (const auto& rCase : kCases) {
        SCOPED_TRACE(rCase.pszCase);
        Start(kDefaultMachine, [&](auto& rMachine) { rMachine.Registry = {{rCase.pszKey, rCase.pszValue}}; });
        EXPECT_EQ(IsOverclockWarningAccepted(), rCase.bAccepted);
        EXPECT_THAT(System().m_Handles, IsEmpty());
    }
}

}  // namespace
