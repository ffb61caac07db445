// The devices that work through the firmware: clock generator, voltage controllers, BIOS.
#include <gmock/gmock.h>

#include "devices/chipset/clock_generator.h"
#include "devices/chipset/voltage_controllers.h"
#include "firmware/bios_device.h"
#include "firmware/firmware_fixture.h"
#include "support/devices.h"

namespace {

using namespace vxttest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxtapi::FirmwareLimits;

std::vector<double> g_Numbers(const FirmwareLimits& rLimits) {
    return {rLimits.dMinimum, rLimits.dMaximum, rLimits.dDefault, rLimits.dStep};
}

struct CFirmwareDevicesTest : CFirmwarePc {
    /// The PC of this text, its firmware initialised as at the library's start.
    void Use(const std::string& sMore = "", const std::string& sText = kFirmware) {
        Boot(sMore, sText);
        Handler().Init();
        m_Log.Take();
    }
    CFirmwareDevicesTest() { Use(); }
};

// --- clock generator

struct CClockGenTest : CFirmwareDevicesTest {
    static std::string Line(const char* pszText, const char* pszMethod = "Init") {
        return g_ProcessError(pszText, std::string("CDefaultClockGen::") + pszMethod);
    }
    std::vector<double> List(bool (vxt::CDefaultClockGen::*pGet)(double*, uint32_t&)) {
        uint32_t uCount = 0;
        if (!(m_ClockGen.*pGet)(nullptr, uCount)) return {};
        std::vector<double> Values(uCount);
        EXPECT_TRUE((m_ClockGen.*pGet)(Values.data(), uCount));
        return Values;
    }
    vxt::CDefaultClockGen m_ClockGen = g_Make<vxt::CDefaultClockGen>();
};

TEST_F(CClockGenTest, ListsAndClocksAreInMegahertz) {
    ASSERT_TRUE(m_ClockGen.Init(0));
    EXPECT_FALSE(g_Make<vxt::CDefaultClockGen>().Init(1));
    EXPECT_THAT(List(&vxt::CDefaultClockGen::GetExternalClockList), ElementsAre(190.0, 200.0, 210.0));
    EXPECT_THAT(List(&vxt::CDefaultClockGen::GetPCIeClockList), ElementsAre(100.0, 101.0));
    double adFew[2] = {7, 7};
    uint32_t uFew = 2;
    EXPECT_FALSE(m_ClockGen.GetExternalClockList(adFew, uFew));
    EXPECT_THAT(adFew, ElementsAre(7, 7));

    EXPECT_EQ(m_ClockGen.GetExternalClock(), 200.0);
    EXPECT_EQ(m_ClockGen.GetPCIeClock(), 100.0);
    EXPECT_EQ(m_ClockGen.GetThirdClock(), 48.0);
    EXPECT_TRUE(m_ClockGen.SetExternalClock(210.0));
    EXPECT_TRUE(m_ClockGen.SetPCIeClock(101.0));
    EXPECT_TRUE(m_ClockGen.SetThirdClock(128.003)) << "128.003 * 1000 is a little less than 128003";
    EXPECT_EQ(m_ClockGen.GetExternalClock(), 210.0);
    EXPECT_EQ(m_ClockGen.GetPCIeClock(), 101.0);
    EXPECT_EQ(m_ClockGen.GetThirdClock(), 128.003);
    EXPECT_TRUE(m_ClockGen.SetThirdClock(48.0009));
    EXPECT_EQ(m_ClockGen.GetThirdClock(), 48.0) << "a fraction of a kHz is cut off";
    EXPECT_FALSE(m_ClockGen.SetExternalClock(205.0)) << "the firmware refuses";
    EXPECT_EQ(m_ClockGen.GetExternalClock(), 210.0);

    FirmwareLimits Limits{};
    EXPECT_TRUE(m_ClockGen.GetClockLimits(vxtapi::CClockGenerator::kExternalClock, &Limits));
    EXPECT_THAT(g_Numbers(Limits), ElementsAre(150.0, 400.0, 200.0, 1.0));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    EXPECT_FALSE(m_ClockGen.GetClockLimits(vxtapi::CClockGenerator::eClock{3}, &Limits));
    EXPECT_FALSE(m_ClockGen.GetClockLimits(vxtapi::CClockGenerator::kThirdClock, nullptr));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Line("eWhich < std::size(kFunctions)", "GetClockLimits"),
                                                Line("pLimits", "GetClockLimits")));
    EXPECT_TRUE(m_ClockGen.UnInit());
    EXPECT_THAT(List(&vxt::CDefaultClockGen::GetExternalClockList), IsEmpty());
}

TEST_F(CClockGenTest, AFlaggedClockIsNotAskedForAList) {
    Use(g_Answer("GetObjectID", "property = numbers:1 0 1 0 0"));
    TakeTrace();
    ASSERT_TRUE(m_ClockGen.Init(0));
    EXPECT_EQ(System().m_Wmi.Firmware()->Executions("GetDValues"), 2u) << "count and values of one clock";
    EXPECT_THAT(List(&vxt::CDefaultClockGen::GetExternalClockList), IsEmpty());
    EXPECT_THAT(List(&vxt::CDefaultClockGen::GetPCIeClockList), ElementsAre(100.0, 101.0));

    Use(g_Answer("GetObjectID", "property = numbers:2 -1 0 0 0"));
    ASSERT_TRUE(m_ClockGen.Init(0)) << "only 1 is a set flag";
    EXPECT_THAT(List(&vxt::CDefaultClockGen::GetExternalClockList), ElementsAre(190.0, 200.0, 210.0));
    EXPECT_THAT(List(&vxt::CDefaultClockGen::GetPCIeClockList), ElementsAre(100.0, 101.0));

    Use(g_Answer("GetObjectID", "ID = missing"));
    ASSERT_TRUE(m_ClockGen.Init(0)) << "without IDs every flag counts as set";
    EXPECT_EQ(System().m_Wmi.Firmware()->Executions("GetDValues"), 0u);
    EXPECT_THAT(List(&vxt::CDefaultClockGen::GetPCIeClockList), IsEmpty()) << "nor does a list of last time stay";
    EXPECT_EQ(m_ClockGen.GetExternalClock(), 200.0);
}

TEST_F(CClockGenTest, AFirmwareThatStopsAnsweringGivesZeroAndFalse) {
    ASSERT_TRUE(m_ClockGen.Init(0));
    System().OtherProcessTakesMutex(L"VXT_WMI_HANDLER_MUTEX", 3'600'000);
    EXPECT_EQ(m_ClockGen.GetExternalClock(), 0.0);
    EXPECT_FALSE(m_ClockGen.SetPCIeClock(101.0));
    FirmwareLimits Limits{1, 2, 3, 4};
    EXPECT_FALSE(m_ClockGen.GetClockLimits(vxtapi::CClockGenerator::kPCIeClock, &Limits));
    EXPECT_THAT(g_Numbers(Limits), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(m_Log.TakeErrors().back(), Line("bRetCode", "GetClockLimits"));
}

// --- voltage controllers

struct CVoltagesTest : CFirmwareDevicesTest {
    static std::string Line(const char* pszText, const char* pszMethod,
                            const char* pszClass = "CCustomerPWMController") {
        return g_ProcessError(pszText, std::string(pszClass) + "::" + pszMethod);
    }
    vxt::CCustomerPWMController m_Customer = g_Make<vxt::CCustomerPWMController>();
    vxt::CDefaultPWMController m_Default = g_Make<vxt::CDefaultPWMController>();
};

TEST_F(CVoltagesTest, TheCustomerControllerShowsTheBoardsVoltagesAndTheDefaultOneTheCommonOnes) {
    ASSERT_TRUE(m_Customer.Init(0));
    ASSERT_TRUE(m_Default.Init(0));
    EXPECT_FALSE(g_Make<vxt::CCustomerPWMController>().Init(1));
    ASSERT_EQ(m_Customer.GetVoltageCount(), 2u);
    EXPECT_STREQ(m_Customer.GetVoltageName(0), L"Memory voltage");
    EXPECT_STREQ(m_Customer.GetVoltageName(1), L"Board voltage");
    ASSERT_EQ(m_Default.GetVoltageCount(), 1u) << "the other one is the board's own";
    EXPECT_STREQ(m_Default.GetVoltageName(0), L"MemVDDQ") << "the name in profiles";

    EXPECT_EQ(m_Customer.GetVoltage(0), 1.5);
    EXPECT_TRUE(m_Default.SetVoltage(0, 1.6));
    EXPECT_EQ(m_Customer.GetVoltage(0), 1.6) << "both drive the same function";
    EXPECT_FALSE(m_Customer.SetVoltage(1, 1.5)) << "beyond its maximum";
    EXPECT_EQ(m_Customer.GetVoltage(1), 1.2);

    FirmwareLimits Limits{};
    EXPECT_TRUE(m_Customer.GetVoltageLimits(0, &Limits));
    EXPECT_THAT(g_Numbers(Limits), ElementsAre(1.3, 1.9, 1.5, 0.025));
    EXPECT_TRUE(m_Customer.GetVoltageLimits(1, &Limits));
    EXPECT_THAT(g_Numbers(Limits), ElementsAre(1.0, 1.4, 1.2, 0.01)) << "no default told: the voltage at start-up";
    EXPECT_EQ(m_Customer.GetVersion(), 1u);
    EXPECT_STREQ(m_Customer.GetDescription(), L"Customer PWM Controller");
    EXPECT_STREQ(m_Default.GetDescription(), L"QOR Default PWM Controller");
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
}

TEST_F(CVoltagesTest, AnIndexBeyondTheTableIsRefusedUnderTheClassThatWasAsked) {
    ASSERT_TRUE(m_Customer.Init(0));
    ASSERT_TRUE(m_Default.Init(0));
    FirmwareLimits Limits{};
    for (const int32_t nIndex : {2, -1, INT32_MAX}) {
        EXPECT_EQ(m_Customer.GetVoltage(nIndex), 0.0);
        EXPECT_FALSE(m_Customer.SetVoltage(nIndex, 1.5));
        EXPECT_STREQ(m_Customer.GetVoltageName(nIndex), L"");
        EXPECT_FALSE(m_Customer.GetVoltageLimits(nIndex, &Limits));
        const char* const pszText = "index >=0 && index < m_nVoltageCount";
        EXPECT_THAT(m_Log.TakeErrors(),
                    ElementsAre(Line(pszText, "GetVoltage"), Line(pszText, "SetVoltage"),
                                Line(pszText, "GetVoltageName"), Line(pszText, "GetVoltageLimits")));
        EXPECT_EQ(m_Default.GetVoltage(nIndex), 0.0);
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Line(pszText, "GetVoltage", "CDefaultPWMController")));
    }
    EXPECT_FALSE(m_Customer.GetVoltageLimits(0, nullptr));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Line("pLimits", "GetVoltageLimits")));
}

TEST_F(CVoltagesTest, AVoltageWithoutDescriptionStaysInTheTable) {
    Use(g_Answer("GetInfo", "fails = 1"));
    ASSERT_TRUE(m_Customer.Init(0));
    EXPECT_EQ(m_Customer.GetVoltageCount(), 2u);
    const std::string sInfo = g_ProcessError("bRetCode", "CQORBIOSHandler::GetInfo");
    const std::string sCheck = g_CheckError("bRetCode", "CCustomerPWMController::_InitFunctionTable");
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(sInfo, sCheck, sInfo, sCheck));
    FirmwareLimits Limits{};
    EXPECT_TRUE(m_Customer.GetVoltageLimits(0, &Limits));
    EXPECT_THAT(g_Numbers(Limits), ElementsAre(0.0, 0.0, 1.5, 0.0));

    Use(g_Answer("GetInfo", "x = numbers:1000"));
    ASSERT_TRUE(m_Customer.Init(0));
    EXPECT_TRUE(m_Customer.GetVoltageLimits(0, &Limits));
    EXPECT_THAT(g_Numbers(Limits), ElementsAre(1.0, 0.0, 1.5, 0.0)) << "words that are missing count as 0";
}

// --- BIOS

const std::string kBiosPc = std::string("[machine]\nname = bios\n") + kBios;

struct CBiosDeviceTest : CFirmwareDevicesTest {
    std::string RawDate(const std::vector<uint8_t>& rArea) {
        Boot("", kBiosPc);
        Machine().Memory(0xF0000) = rArea;
        auto Bios = g_Make<vxt::CDefaultBIOS>();
        EXPECT_TRUE(Bios.Init(0));
        return Bios.GetRawDate();
    }
};

TEST_F(CBiosDeviceTest, TheTextsComeFromTheSystemsClass) {
    Boot("", kBiosPc);
    auto Bios = g_Make<vxt::CDefaultBIOS>();
    ASSERT_TRUE(Bios.Init(0));
    EXPECT_STREQ(Bios.GetSerialNumber(), L"") << "a null is no failure";
    EXPECT_STREQ(Bios.GetManufacturer(), L"QOR Boards");
    EXPECT_STREQ(Bios.GetVendor(), L"QOR Boards");
    EXPECT_STREQ(Bios.GetDescription(), L"Board firmware");
    EXPECT_STREQ(Bios.GetBIOSVersion(), L"1.07");
    EXPECT_STREQ(Bios.GetReleaseDate(), L"20091204000000.000000+000");
    EXPECT_STREQ(vxt::g_GetBIOSReleaseDate(), L"20091204000000.000000+000");
    EXPECT_STREQ(Bios.GetTypeName(), L"BIOS");
    EXPECT_STREQ(Bios.GetName(), L"Default BIOS");
    EXPECT_STREQ(Bios.GetRawDate(), "");
    EXPECT_FALSE(g_Make<vxt::CDefaultBIOS>().Init(1)) << "one instance";
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());

    Boot("SMBIOSBIOSVersion = text:" + std::string(400, 'v') + "\n",
         std::string(kBiosPc).replace(kBiosPc.find("SMBIOSBIOSVersion"), 29, ""));
    auto Long = g_Make<vxt::CDefaultBIOS>();
    ASSERT_TRUE(Long.Init(0));
    EXPECT_EQ(Long.GetBIOSVersion(), std::wstring(255, L'v'));
}

TEST_F(CBiosDeviceTest, TheRawDateIsTheFirstOfTheBestSeparator) {
    const struct {
        std::string sText;
        const char* pszDate;
    } kCases[] = {
        {"release 12/04/09-BOARD", "12/04/09"},
        {"12/04/2009", "12/04/2009"},
        {"12/04/200", "12/04/20"},
        {"1.02.03 04-05-06 built 12/04/09", "12/04/09"},  // slashes first, wherever they stand
        {"10.20.30 then 04-05-2006", "04-05-2006"},
        {"version 10.20.30", "10.20.30"},
        {"1/2/2009 12/4/09 /// 12/04-09 ab/cd/ef", ""},
        {"/4/09", ""},
        {"", ""},
    };
    for (const auto& [sText, pszDate] : kCases)
        EXPECT_EQ(RawDate(std::vector<uint8_t>(sText.begin(), sText.end())), pszDate) << sText;
    std::vector<uint8_t> Area(0x10000, 0);
    const std::string sDate = "07/08/09";
    std::ranges::copy(sDate, Area.begin() + 0xFFF5);
    EXPECT_EQ(RawDate(Area), sDate) << "the classic place";
    Area[0xFFFD] = Area[0xFFFE] = '1';
    EXPECT_EQ(RawDate(Area), "07/08/0911");
    Area.assign(0x10000, 0);
    std::ranges::copy(sDate, Area.begin() + 0xFFF8);
    EXPECT_EQ(RawDate(Area), "") << "its last digit lies beyond the view";
}

TEST_F(CBiosDeviceTest, WithoutPhysicalMemoryTheDateStaysEmpty) {
    Boot("", kBiosPc);
    const std::string sDate = "12/04/09";
    Machine().Memory(0xF0000).assign(sDate.begin(), sDate.end());
    auto Shown = g_Make<vxt::CDefaultBIOS>(), Hidden = g_Make<vxt::CDefaultBIOS>();
    EXPECT_TRUE(Shown.Init(0));
    EXPECT_EQ(Shown.GetRawDate(), sDate);
    System().m_bShowsPhysicalMemory = false;
    EXPECT_TRUE(Hidden.Init(0));
    EXPECT_STREQ(Hidden.GetRawDate(), "");
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
}

}  // namespace
