// Devices of the board's firmware, through Windows management: clocks, voltages, the BIOS. The firmware's side is the
// tests' management service.
#include <memory>

#include "host_test.h"
#include "physical_memory.h"
#include "wmi_server/wmi_server.h"

using namespace vxtapi;

namespace {

constexpr const char* kNoFirmware = "[machine]\nname = a board without tuning\n";
constexpr const char* kFirmware = R"(
[machine]
name = a board with tuning
[firmware]
vendor = QOR Boards
[firmware object 01010000]
name = HTRefClock
value = 200000
values = 190000 195500 200000
info = 150000 400000 200000 500
[firmware object 01020000]
name = PCIeClock
value = 100000
values = 100000 105000
[firmware object 01030000]
name = Third
property = 1
value = 33333
info = 30000 40000
[firmware object 02030000]
name = CPU core
value = 1300
info = 800 1550 1250 25
[firmware object 02070000]
name = South bridge
value = 1215
info = 1000 1500 0 5
)";

class CFirmware : public CHostTest {
protected:
    void SetUp() override {
        CHostTest::SetUp();
        ASSERT_TRUE(Server().IsComplete());
    }
    void TearDown() override {
        CHostTest::TearDown();
        EXPECT_EQ(Server().LiveObjects(), 0) << "the library keeps objects of the management service";
    }
    static const CWmiServer& Server() {
        static const CWmiServer s_Server;
        return s_Server;
    }

    /// Starts the library, anew if it runs, on a PC with this firmware.
    void Start(const std::string& sMachine = kFirmware) {
        m_Library->UnInit();
        std::filesystem::remove_all("Logs");
        Load();
        const char* const pszError = Server().UseMachine(sMachine.c_str());
        ASSERT_EQ(pszError, nullptr) << pszError;
        ASSERT_TRUE(m_Library->Init(true));
    }
    template <class TDevice> TDevice* Device(eDeviceType eType) const {
        return static_cast<TDevice*>(m_Library->DeviceManager()->GetDevice(eType, 0));
    }
    CClockGenerator* Clocks() const { return Device<CClockGenerator>(kDeviceClockGen); }
};

TEST_F(CFirmware, OverclockingIsSupportedWhereTheFirmwareOffersIt) {
    for (const bool bOffered : {true, false}) {
        Start(bOffered ? kFirmware : kNoFirmware);
        bool bSupported = !bOffered;
        EXPECT_TRUE(m_Library->IsOcSupported(&bSupported));
        EXPECT_EQ(bSupported, bOffered);
        EXPECT_EQ(Clocks() != nullptr, bOffered);
        for (const eDeviceType eType : {kDeviceDefaultPwm, kDeviceCustomerPwm})
            EXPECT_EQ(Device<CVoltageController>(eType) != nullptr, bOffered) << eType;
        EXPECT_NE(Device<CBIOS>(kDeviceBios), nullptr);
    }
}

TEST_F(CFirmware, ClocksAreReadListedAndSet) {
    Start();
    ASSERT_NE(Clocks(), nullptr);
    EXPECT_EQ(Clocks()->GetExternalClock(), 200.0);
    EXPECT_EQ(Clocks()->GetPCIeClock(), 100.0);
    EXPECT_EQ(Clocks()->GetThirdClock(), 33.333);

    double adValues[3]{};
    uint32_t uSize = 2;
    EXPECT_FALSE(Clocks()->GetExternalClockList(adValues, uSize)) << "they do not fit";
    uSize = 3;
    ASSERT_TRUE(Clocks()->GetExternalClockList(adValues, uSize));
    EXPECT_EQ(std::vector<double>(adValues, adValues + uSize), (std::vector<double>{190.0, 195.5, 200.0}));
    FirmwareLimits Limits{};
    ASSERT_TRUE(Clocks()->GetClockLimits(CClockGenerator::kExternalClock, &Limits));
    EXPECT_EQ(Limits.dMinimum, 150.0);
    EXPECT_EQ(Limits.dMaximum, 400.0);
    EXPECT_EQ(Limits.dDefault, 200.0);
    EXPECT_EQ(Limits.dStep, 0.5);

    EXPECT_TRUE(Clocks()->SetExternalClock(195.5));
    EXPECT_EQ(Clocks()->GetExternalClock(), 195.5);
    EXPECT_FALSE(Clocks()->SetExternalClock(196.0)) << "not in the firmware's list";
    EXPECT_TRUE(Clocks()->SetPCIeClock(105.0));
    EXPECT_TRUE(Clocks()->SetThirdClock(34.5));
    EXPECT_EQ(Clocks()->GetExternalClock(), 195.5);
    EXPECT_EQ(Clocks()->GetPCIeClock(), 105.0);
    EXPECT_EQ(Clocks()->GetThirdClock(), 34.5);
}

TEST_F(CFirmware, VoltagesOfTheBoardAndOfAllBoards) {
    Start();
    auto* const pBoard = Device<CVoltageController>(kDeviceCustomerPwm);
    ASSERT_NE(pBoard, nullptr);
    ASSERT_EQ(pBoard->GetVoltageCount(), 2u);
    EXPECT_EQ(std::wstring(pBoard->GetVoltageName(0)), L"CPU core");
    EXPECT_EQ(std::wstring(pBoard->GetVoltageName(1)), L"South bridge");
    EXPECT_EQ(pBoard->GetVoltage(0), 1.3);
    EXPECT_TRUE(pBoard->SetVoltage(0, 1.325));
    EXPECT_FALSE(pBoard->SetVoltage(0, 1.6)) << "above the firmware's limit";
    EXPECT_EQ(pBoard->GetVoltage(0), 1.325);
    EXPECT_EQ(pBoard->GetVoltage(1), 1.215);
    EXPECT_EQ(pBoard->GetVoltage(2), 0.0);
    FirmwareLimits Limits{};
    ASSERT_TRUE(pBoard->GetVoltageLimits(1, &Limits));
    EXPECT_EQ(Limits.dDefault, 1.215) << "none told: what it had at start-up";

    auto* const pCommon = Device<CVoltageController>(kDeviceDefaultPwm);
    ASSERT_NE(pCommon, nullptr);
    ASSERT_EQ(pCommon->GetVoltageCount(), 1u);
    EXPECT_EQ(std::wstring(pCommon->GetVoltageName(0)), L"CPUVDDC");
    EXPECT_EQ(pCommon->GetVoltage(0), 1.325);
}

TEST_F(CFirmware, OddAnswersLeadToFailuresAndNeverToReadings) {
    constexpr struct {
        const char *pszMethod, *pszAnswer;
        double dClock;  // 0: no reading
        const char* pszLog;
    } kCases[] = {
        {"GetValue", "status = number:5", 0, nullptr},
        {"GetValue", "status = missing", 0, R"(\(.*\) at line \d+ in CQORBIOSHandler::GetValue)"},
        {"GetValue", "value = missing", 0, R"(\(bRetCode\) at line \d+ in CQORBIOSHandler::GetValue)"},
        {"GetValue", "value = text:200000", 0, nullptr},
        {"GetValue", "value = null_numbers", 0, nullptr},
        {"GetValue", "pack = null", 0, nullptr},
        {"GetValue", "pack = other:13", 0, nullptr},
        {"GetValue", "pack = missing", 0, R"(\(hr\) at line \d+ in CWmiHandler::CallMethod)"},
        {"GetValue", "fails = 1", 0, R"(\(bRetCode\) at line \d+ in CQORBIOSHandler::GetValue)"},
        {"GetValue", "delay = 50", 200, nullptr},
        {"GetValue", "value = number:-1500", -1.5, nullptr},
    };
    for (const auto& [pszMethod, pszAnswer, dClock, pszLog] : kCases) {
        SCOPED_TRACE(std::string(pszMethod) + ": " + pszAnswer);
        Start(std::string(kFirmware) + "[firmware answer " + pszMethod + "]\n" + pszAnswer + "\n");
        ASSERT_NE(Clocks(), nullptr);
        EXPECT_EQ(Clocks()->GetExternalClock(), dClock);
        EXPECT_TRUE(!pszLog || LogHas(pszLog)) << g_ReadLog();
    }
}

TEST_F(CFirmware, AFirmwareThatDoesNotDescribeItselfHasNoClocks) {
    constexpr struct {
        const char* pszText;
        bool bClocks, bList;
        const char* pszLog;
    } kCases[] = {
        {"[firmware answer Init]\nstatus = missing\n", false, false, nullptr},
        {"[firmware answer GetObjectID]\nlength = number:2\n", false, false, R"(\(pack\.IDCount > 2\))"},
        {"[firmware answer GetObjectID]\nlength = number:-1\n", false, false, nullptr},
        {"[firmware answer GetObjectID]\nID = null_numbers\n", false, false, R"(\(varOutID\.parray\))"},
        {"[firmware answer GetObjectID]\nproperty = null_numbers\n", false, false, R"(\(varOutProp\.parray\))"},
        {"[firmware answer GetObjectID]\nIDstring = null_texts\n", false, false, R"(\(varOutDesc\.parray\))"},
        {"[firmware answer GetObjectID]\nID = missing\n", true, false, nullptr},
        {"[firmware answer GetDValues]\nlength = number:0\n", false, false, R"(\(m_nExtFreqCount > 0\))"},
        {"[firmware answer GetObjectID]\nlength = number:5\n", true, true, nullptr},
    };
    for (const auto& [pszText, bClocks, bList, pszLog] : kCases) {
        SCOPED_TRACE(pszText);
        Start(std::string(kFirmware) + pszText);
        ASSERT_EQ(Clocks() != nullptr, bClocks) << g_ReadLog();
        uint32_t uSize = 0;
        EXPECT_EQ(bClocks && Clocks()->GetExternalClockList(nullptr, uSize), bList);
        EXPECT_TRUE(!pszLog || LogHas(pszLog)) << g_ReadLog();
    }
}

TEST_F(CFirmware, TheBiosIsTheSystems) {
    Start();
    auto* const pBios = Device<CBIOS>(kDeviceBios);
    ASSERT_NE(pBios, nullptr);
    EXPECT_EQ(std::wstring(pBios->GetSerialNumber()), g_QueryBios(L"SerialNumber"));
    EXPECT_EQ(std::wstring(pBios->GetManufacturer()), g_QueryBios(L"Manufacturer"));
    EXPECT_EQ(std::wstring(pBios->GetDescription()), g_QueryBios(L"Description"));
    EXPECT_EQ(std::wstring(pBios->GetBIOSVersion()), g_QueryBios(L"SMBIOSBIOSVersion"));
    EXPECT_EQ(std::wstring(pBios->GetReleaseDate()), g_QueryBios(L"ReleaseDate"));
    EXPECT_FALSE(g_QueryBios(L"Manufacturer").empty()) << "nothing was compared";
    EXPECT_STREQ(pBios->GetRawDate(), "") << "this system shows no physical memory";
}

TEST_F(CFirmware, TheBiosDateIsFoundWherePhysicalMemoryCanBeRead) {
    CPhysicalMemory Memory;
    ASSERT_TRUE(Memory.Exists());
    Memory.Write(0xF1000, "v1.0 11-12-13"), Memory.Write(0xFFFF5, "12/04/09");
    Start();
    ASSERT_NE(Device<CBIOS>(kDeviceBios), nullptr);
    EXPECT_STREQ(Device<CBIOS>(kDeviceBios)->GetRawDate(), "12/04/09");
}

TEST_F(CFirmware, AProcessThatHoldsTheFirmwareForTooLongFailsTheReading) {
    Start();
    ASSERT_NE(Clocks(), nullptr);
    CSecondHost Holder(CSecondHost::kHoldMutex);
    ASSERT_TRUE(Holder.IsStarted());
    EXPECT_EQ(Clocks()->GetExternalClock(), 0.0);
    EXPECT_TRUE(LogHas(R"(LOG_PROCESS_ERROR\(ulWaitResult == WAIT_OBJECT_0\) at line \d+ in CWmiHandler::CallMethod)"));
    EXPECT_TRUE(Holder.Stop()) << "the library released a mutex that it did not have";
    EXPECT_EQ(Clocks()->GetExternalClock(), 200.0);
}

// Kept: the wait that finds an abandoned mutex is no good one, but it takes the mutex, which is then released.
TEST_F(CFirmware, AProcessThatDiesHoldingTheFirmwareFailsOneReading) {
    Start();
    ASSERT_NE(Clocks(), nullptr);
    {
        CSecondHost Holder(CSecondHost::kHoldMutex);
        ASSERT_TRUE(Holder.IsStarted());
        Holder.Kill();
    }
    EXPECT_EQ(Clocks()->GetExternalClock(), 0.0);
    EXPECT_EQ(Clocks()->GetExternalClock(), 200.0);
}

TEST_F(CFirmware, WhatWasSetOutlivesTheLibrary) {
    Start();
    ASSERT_NE(Clocks(), nullptr);
    EXPECT_TRUE(Clocks()->SetExternalClock(190.0));
    EXPECT_TRUE(m_Library->UnInit());
    EXPECT_EQ(Server().LiveObjects(), 0);
    Load();
    ASSERT_TRUE(m_Library->Init(false));
    ASSERT_NE(Clocks(), nullptr);
    EXPECT_EQ(Clocks()->GetExternalClock(), 190.0);
}

}  // namespace
