// Applying profiles: what each step writes to the hardware, in which order, and what is left in the log.
#include "perf/profile_settings.h"

#include <gmock/gmock.h>
#include <vxtapi/graphics_processor.h>
#include <vxtapi/vxtapi.h>

#include <fstream>

#include "api/log/log.h"
#include "devices/memctl/memory_controller.h"
#include "devices/memctl/memory_registers.h"
#include "hw/driver_handler.h"
#include "support/simulated_pc.h"
#include "support/text_cases.h"

namespace {

using namespace vxttest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const wchar_t* kFile = L"./profile.xml";

std::wstring g_Wide(const std::string& sText) { return {sText.begin(), sText.end()}; }

/// What rows call the devices that profiles know: section of a profile, type.
struct CPlace {
    const char* pszWord;
    const wchar_t* pszSection;
    vxtapi::eDeviceType eType;
};
constexpr CPlace kPlaces[] = {{"cpu", L"CPU", vxtapi::kDeviceCpu},
                              {"link", L"HTLink", vxtapi::kDeviceHtLink},
                              {"clocks", L"ClockGen", vxtapi::kDeviceClockGen},
                              {"graphics", L"GPU", vxtapi::kDeviceGpu},
                              {"own", L"PWMController", vxtapi::kDeviceCustomerPwm},
                              {"common", L"PWMController", vxtapi::kDeviceDefaultPwm},
                              {"memory", L"Memory Controller", vxtapi::kDeviceMemoryController}};

struct CProfileTest : CSimulatedPc {
    ~CProfileTest() override {
        System().m_RequestFaults = {};
        UnInitVXTAPI();
    }

    /// Writes a profile of settings like "cpu Multiplier=12; memory CAS Latency=9", for this machine's devices.
    void Write(const std::string& sSettings) {
        vxtapi::CProfile* const pProfile = GetProfileSettings()->OpenProfile(kFile);
        ASSERT_TRUE(pProfile && pProfile->Clear());
        std::istringstream Settings(sSettings == "-" ? "" : sSettings);
        for (std::string sSetting; std::getline(Settings >> std::ws, sSetting, ';');) {
            const size_t uKey = sSetting.find(' ') + 1, uValue = sSetting.find('=') + 1;
            const auto pPlace = std::ranges::find(kPlaces, sSetting.substr(0, uKey - 1), &CPlace::pszWord);
            ASSERT_NE(pPlace, std::end(kPlaces)) << sSetting;
            EXPECT_TRUE(pProfile->SetValue(pPlace->pszSection, Name(*pPlace),
                                           g_Wide(sSetting.substr(uKey, uValue - 1 - uKey)).c_str(),
                                           std::stod(sSetting.substr(uValue))));
        }
        EXPECT_TRUE(pProfile->Save());
        pProfile->Release();
    }
    virtual const wchar_t* Name(const CPlace& rPlace) {
        vxtapi::CDevice* const pDevice = GetDeviceManager()->GetDevice(rPlace.eType, 0);
        return pDevice ? pDevice->GetName() : L"missing";
    }
    void Init(const std::string& sMachine) {
        Start(sMachine);
        ASSERT_TRUE(InitVXTAPI(true));
        m_Log.Take();
    }
    /// What was written since the last call, the calls of the firmware among it.
    std::string Writes() {
        std::string sAll;
        for (const std::string& rsLine : TakeTrace()) {
            const bool bFirmware = rsLine == "ExecuteWmiMethod";
            const std::string sVerb = rsLine.substr(0, rsLine.find(' '));
            if (bFirmware || sVerb == "wrmsr" || sVerb == "memwr" || sVerb == "pciwr")
                sAll += (sAll.empty() ? "" : "; ") + (bFirmware ? "firmware" : rsLine);
        }
        return sAll.empty() ? "-" : sAll;
    }
    /// Values that the firmware has and did not have at power-on, "01010000=210000".
    std::string FirmwareChanges() {
        std::string sAll;
        if (!Machine().Description().oFirmware) return "-";
        for (const auto& rObject : Machine().Description().oFirmware->Objects)
            if (const auto oValue = System().m_Wmi.Firmware()->Value(rObject.uId);
                oValue && *oValue != rObject.nValue) {
                char szChange[32];
                std::snprintf(szChange, sizeof szChange, "%s%08X=%d", sAll.empty() ? "" : " ", rObject.uId, *oValue);
                sAll += szChange;
            }
        return sAll.empty() ? "-" : sAll;
    }
    std::string Apply(const std::string& sSettings) {
        Write(sSettings);
        TakeTrace(), m_Log.Take();
        EXPECT_TRUE(GetProfileSettings()->ApplySettings(kFile));
        return Writes();
    }
};

// A step is a row: what it writes, which values of the firmware it changes, what it logs. A whole profile is its steps one
// behind the other, however the file is sorted.
TEST_F(CProfileTest, EachStepInItsOrder) {
    std::string sWhole, sBackwards;
    for (const auto& rRow : g_CaseRows("profile_traffic.txt")) {
        SCOPED_TRACE(rRow.at(0) + ": " + rRow.at(1));
        Init(rRow[0]);
        const std::string sWrites = Apply(rRow[1]);
        EXPECT_EQ(sWrites, rRow.at(2));
        EXPECT_EQ(FirmwareChanges(), rRow.at(3));
        Lines Errors;
        std::istringstream Texts(rRow.at(4));
        for (std::string sText; Texts >> sText;)
            Errors.push_back(g_CheckError(sText, "CProfileSettgins::ApplySettings"));
        EXPECT_EQ(m_Log.TakeErrors(), Errors);
        UnInitVXTAPI();
        if (rRow[0] != kDefaultMachine) continue;
        sWhole += (sWhole.empty() ? "" : "; ") + sWrites;
        sBackwards = rRow[1] + "; " + sBackwards;
    }
    Init(kDefaultMachine);
    EXPECT_EQ(Apply(sBackwards), sWhole);
}

/// A device that keeps what it is asked for, and may refuse.
template <class TInterface> class CFake : public vxt::CDeviceBase<TInterface> {
public:
    CFake(const vxt::CDeviceIdentity& rIdentity, Lines& rCalls, const bool& rbWorks)
        : vxt::CDeviceBase<TInterface>(rIdentity), m_rCalls(rCalls), m_rbWorks(rbWorks) {}
    bool Init(uint32_t) override { return true; }

protected:
    bool _Called(const std::string& sCall, double dValue) {
        m_rCalls.push_back(sCall + " " + g_Text(dValue));
        return m_rbWorks;
    }
    Lines& m_rCalls;
    const bool& m_rbWorks;
};
constexpr vxt::CDeviceIdentity kClockGen{.eType = vxtapi::kDeviceClockGen, .pszName = L"Clocks (x/y)+1"},
    kGraphics{.eType = vxtapi::kDeviceGpu, .pszName = L"Graphics"},
    kOwn{.eType = vxtapi::kDeviceCustomerPwm, .pszName = L"Own"},
    kCommon{.eType = vxtapi::kDeviceDefaultPwm, .pszName = L"Common"};

struct CFakeClockGen final : CFake<vxtapi::CClockGenerator> {
    using CFake::CFake;
    double GetExternalClock() override { return 0; }
    double GetPCIeClock() override { return 0; }
    double GetThirdClock() override { return 0; }
    bool SetExternalClock(double d) override { return _Called("external", d); }
    bool SetPCIeClock(double d) override { return _Called("PCIe", d); }
    bool SetThirdClock(double d) override { return _Called("third", d); }
    bool GetExternalClockList(double*, uint32_t&) override { return false; }
    bool GetPCIeClockList(double*, uint32_t&) override { return false; }
    bool GetClockLimits(eClock, vxtapi::FirmwareLimits*) override { return false; }
};
struct CFakeGraphics final : CFake<vxtapi::CGraphicsProcessor> {
    using CFake::CFake;
    bool IsIntegrated() override { return m_bIntegrated; }
    double GetEngineClock() override { return 0; }
    bool SetEngineClock(double d) override { return _Called("engine", d); }
    bool GetEngineClockLimits(vxtapi::EngineClockLimits*) override { return false; }
    bool m_bIntegrated = true;
};
struct CFakeVoltages final : CFake<vxtapi::CVoltageController> {
    using CFake::CFake;
    uint32_t GetVoltageCount() override { return static_cast<uint32_t>(m_Names.size()); }
    const wchar_t* GetVoltageName(int32_t n) override { return m_Names.at(static_cast<size_t>(n)).c_str(); }
    double GetVoltage(int32_t) override { return 0; }
    bool SetVoltage(int32_t n, double d) override { return _Called("voltage " + std::to_string(n), d); }
    bool GetVoltageLimits(int32_t, vxtapi::FirmwareLimits*) override { return false; }
    std::vector<std::wstring> m_Names;
};

/// A machine of the devices above and nothing else.
struct CFakeMachine : CProfileTest, vxtapi::CDeviceManager {
    vxtapi::CDevice* GetDevice(uint32_t) override { return nullptr; }
    vxtapi::CDevice* GetDevice(vxtapi::eDeviceType eType, uint32_t uIndex) override {
        const auto it = m_Devices.find(eType);
        return uIndex == 0 && it != m_Devices.end() ? it->second : nullptr;
    }
    uint32_t GetDeviceCountByName(const wchar_t*) override { return 0; }
    uint32_t GetDeviceCount(vxtapi::eDeviceType eType) override {
        return static_cast<uint32_t>(m_Devices.count(eType));
    }
    uint32_t GetDeviceTypeCount() override { return 0; }
    bool Refresh() override { return true; }
    const wchar_t* Name(const CPlace& rPlace) override { return GetDevice(rPlace.eType, 0)->GetName(); }

    Lines Run(const std::string& sSettings) {
        if (!sSettings.empty()) Write(sSettings);
        m_Calls.clear();
        vxt::g_GetLog().Init("VXTAPI", 65535, vxt::CLog::kToFile, 10000);
        EXPECT_TRUE(m_Settings.ApplySettings(kFile));
        return m_Calls;
    }

    Lines m_Calls;
    bool m_bWorks = true;
    CFakeClockGen m_ClockGen{kClockGen, m_Calls, m_bWorks};
    CFakeGraphics m_Graphics{kGraphics, m_Calls, m_bWorks};
    CFakeVoltages m_Own{kOwn, m_Calls, m_bWorks}, m_Common{kCommon, m_Calls, m_bWorks};
    std::map<vxtapi::eDeviceType, vxtapi::CDevice*> m_Devices{{vxtapi::kDeviceClockGen, &m_ClockGen},
                                                              {vxtapi::kDeviceGpu, &m_Graphics},
                                                              {vxtapi::kDeviceCustomerPwm, &m_Own},
                                                              {vxtapi::kDeviceDefaultPwm, &m_Common}};
    vxt::CProfileSettgins m_Settings{*this};
};

TEST_F(CFakeMachine, WhatIsMissingOrRefusedIsLoggedAndTheRestApplied) {
    const auto Lines = [](std::initializer_list<const char*> Texts) {
        std::vector<std::string> All;
        for (const char* const pszText : Texts) All.push_back(g_CheckError(pszText, "CProfileSettgins::ApplySettings"));
        return All;
    };
    m_Own.m_Names = {L"A (b)", L"C/d"};
    m_Common.m_Names = {L"NBCoreVol", L"MemVDDQ", L"Else"};
    const std::string sProfile =
        "common Else=9; common CPUVDDC=1.3; common NBCoreVol=1.1; common MemVDDQ=1.5; own C/d=2; "
        "own A (b)=0; graphics IGPClock=600; clocks PCIeClock=100.5; clocks HTRefClock=201";
    const auto Expected = ElementsAre("external 201", "PCIe 100.5", "engine 600", "voltage 0 0", "voltage 1 2",
                                      "voltage 1 1.5", "voltage 0 1.1");
    const auto Missing = Lines({"pCPU", "pCPU", "pCPU", "pCPU", "pHTLink", "bRetCode", "pMC"});
    EXPECT_THAT(Run(sProfile), Expected);
    EXPECT_EQ(m_Log.TakeErrors(), Missing) << "one common voltage is not of this board";
    m_bWorks = false;
    EXPECT_THAT(Run(""), Expected);
    EXPECT_EQ(m_Log.TakeErrors().size(), Missing.size() + 7);
    m_bWorks = true, m_Graphics.m_bIntegrated = false;
    EXPECT_THAT(Run("graphics IGPClock=600"), IsEmpty());
    m_Devices.clear(), m_Log.TakeErrors();
    Run("");
    EXPECT_EQ(m_Log.TakeErrors(),
              Lines({"pCPU", "pCPU", "pCPU", "pCPU", "pHTLink", "pClockGen", "pGPU", "pCustomerPWM", "pPWM", "pMC"}));
    EXPECT_FALSE(m_Settings.ApplySettings(L""));
    EXPECT_FALSE(m_Settings.ApplySettings(nullptr));
}

// Of a profile by hand: what is no number is passed over, with a line in the log.
TEST_F(CProfileTest, TextsThatAreNoNumbersAreNotApplied) {
    Init("family10h-ddr3");
    std::ofstream("profile.xml") << R"(<VXT_Configuration_File><CPU><QOR_Family_10h_Processor>
        <Multiplier>12,5</Multiplier><Multiplier2> 12 </Multiplier2><CPUVID>NaN</CPUVID><NBVID>1e999</NBVID>
        <ClockDivisor></ClockDivisor></QOR_Family_10h_Processor></CPU></VXT_Configuration_File>)";
    TakeTrace();
    EXPECT_TRUE(GetProfileSettings()->ApplySettings(kFile));
    EXPECT_EQ(Writes(), "wrmsr 1 C0010070 3C01200E 00000000; wrmsr 1 C0010070 3C002008 00000000");
    const Lines Errors = m_Log.TakeErrors();
    EXPECT_THAT(Errors, ::testing::Contains("The profile's CPUVID of QOR Family 10h Processor is no number."));
    EXPECT_EQ(std::ranges::count_if(Errors, [](const auto& s) { return s.ends_with("is no number."); }), 7)
        << "the switch for each core";
}

/// Memory of which one operation fails.
struct CFakeMemory final : vxt::CFamilyMemoryController {
    explicit CFakeMemory(Lines& rCalls)
        : CFamilyMemoryController(vxt::g_GetDriverHandler(), vxt::memory::kFamily10hRules), m_rCalls(rCalls) {}
    bool GetMemTiming(vxtapi::MemTiming* p) override {
        *p = {};
        p->dTcl = 5, p->dTrcd = 6;
        return _Called("read timing");
    }
    bool SetMemTiming(const vxtapi::MemTiming* p) override {
        return _Called("timing " + g_Text(p->dTcl, p->dTrcd, p->dTwtr, p->dTrwt));
    }
    bool GetMemConfig(vxtapi::MemConfig* p) override {
        *p = {};
        p->bWeakDrivers = 1, p->dIdleCycleLimit = 16;
        return _Called("read configuration");
    }
    bool SetMemConfig(const vxtapi::MemConfig* p) override {
        return _Called("configuration " + g_Text(p->bSlowAccessMode, p->bWeakDrivers, p->dIdleCycleLimit,
                                                 p->adProcOdt[1], p->adDqsReceiverDelay[7]));
    }
    bool _Called(const std::string& sCall) { return m_rCalls.push_back(sCall), m_rCalls.size() != m_uFailing; }
    Lines& m_rCalls;
    size_t m_uFailing = 0;  ///< counted from 1
};

// A failed timing write lets the configuration follow, a failed reading of the timings ends the stage.
TEST_F(CFakeMachine, TheMemoryStage) {
    CFakeMemory Memory(m_Calls);
    m_Devices = {{vxtapi::kDeviceMemoryController, &Memory}};
    const Lines All = {"read timing", "timing 9 6 3 3", "read configuration", "configuration 1 0 16 60 2.5"};
    struct {
        size_t uFailing;
        Lines Calls, Error;
    } const aCases[] = {
        {0, All, {}},
        {1, {All[0]}, {g_ProcessError("bRetCode", "CProfileSettgins::ApplySettings")}},
        {2, All, {g_ProcessError("bRetCode", "CProfileSettgins::ApplySettings")}},
        {3, {All[0], All[1], All[2]}, {g_CheckError("bRetCode", "CProfileSettgins::ApplySettings")}},
        {4, All, {g_CheckError("bRetCode", "CProfileSettgins::ApplySettings")}},
    };
    for (const auto& [uFailing, Calls, Error] : aCases) {
        Memory.m_uFailing = uFailing;
        EXPECT_EQ(
            Run("memory DRAM Drivers Weak Mode=0; memory Processor On-die Termination B=60; memory Slow Access "
                "Mode=2; memory DQS Receiver Enable Delay B4=2.5; memory CAS Latency=9; memory Write-to-Read Delay=3"),
            Calls);
        Lines Errors = m_Log.TakeErrors();
        Errors.erase(Errors.begin(), Errors.begin() + 9);  // all other devices are missing
        EXPECT_EQ(Errors, Error) << uFailing;
    }
    EXPECT_EQ(Run("memory CAS Latency=9"), (Lines{"read timing", "timing 9 6 0 0"})) << "nothing of the configuration";
}

}  // namespace
