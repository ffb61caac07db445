// South bridges and Super I/O chips: what every operation answers, asks the hardware and logs, one runner for
// tests/cases/sensor_traffic.txt; the chips of the machine files; clock calibration.
#include <gmock/gmock.h>

#include <sstream>

#include "devices/chipset/f71882.h"
#include "devices/chipset/it8716f.h"
#include "devices/chipset/south_bridge.h"
#include "firmware/firmware_fixture.h"
#include "platform/text.h"
#include "support/devices.h"
#include "support/register_chip.h"

namespace {

using namespace vxttest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string YesOrNo(bool bDone) { return bDone ? "yes" : "no"; }
/// What an operation that hands a number out says, and the number.
template <class TNumber, class TOperation> std::string g_Out(TOperation Operation) {
    TNumber Number = 77;  // stays when nothing is handed out
    const std::string sDone = YesOrNo(Operation(&Number));
    return sDone + ' ' + g_Text(Number);
}

/// An operation of one of the interfaces, by its name and numbers.
std::string g_Run(vxtapi::CSouthBridge& rBridge, const std::string& sName, int32_t a, int32_t b) {
    if (sName == "model") return vxt::platform::NarrowText(rBridge.GetModel());
    if (sName == "prepare") return YesOrNo(rBridge.PreparePowerManagement());
    if (sName == "status") {
        const uint32_t uFan = rBridge.GetFanControlStatus(a), uTemperature = rBridge.GetTemperatureControlStatus(a);
        return g_Text(uFan, uTemperature, rBridge.GetVoltageControlStatus(a));
    }
    if (sName == "fan") return g_Text(rBridge.GetCurrentFanSpeed(a));
    if (sName == "temperature") return g_Text(rBridge.GetCurrentTemperature(a));
    if (sName == "voltage") return g_Text(rBridge.GetCurrentVoltage(a));
    if (sName == "limit") return g_Text(rBridge.GetTemperatureThreshold(a, b));
    if (sName == "set") return YesOrNo(rBridge.SetCurrentFanSpeed(a, static_cast<uint32_t>(b)));
    if (sName == "duty")
        return g_Out<uint32_t>([&](uint32_t* p) { return rBridge.GetCurrentFanSpeedPercentage(a, p); });
    if (sName == "save") return g_Out<uint32_t>([&](uint32_t* p) { return rBridge.SaveFanControl(a, p); });
    if (sName == "restore") return YesOrNo(rBridge.RestoreFanControl(a, static_cast<uint32_t>(b)));
    if (sName == "watchdog") return YesOrNo(rBridge.EnableWatchDogTimer(a != 0));
    if (sName == "trigger") return YesOrNo(rBridge.TriggerWatchDogTimer(a != 0));
    if (sName == "watch") return YesOrNo(rBridge.EnableWatchDogTimer(true) && rBridge.TriggerWatchDogTimer(a != 0));
    return "no such operation";
}

std::string g_Run(vxtapi::CEnvironmentController& rChip, const std::string& sName, int32_t a, int32_t b) {
    if (sName == "model")
        return vxt::platform::NarrowText(rChip.GetModel()) + ", " + vxt::platform::NarrowText(rChip.GetDescription());
    if (sName == "fan") return g_Text(static_cast<int32_t>(rChip.GetCurrentFanSpeed(a)));
    if (sName == "temperature") return g_Text(static_cast<int32_t>(rChip.GetCurrentTemperature(a)));
    if (sName == "voltage") return g_Text(rChip.GetCurrentVoltage(a));
    if (sName == "limit") return g_Out<int32_t>([&](int32_t* p) { return rChip.GetTemperatureLimitOfFanStart(a, p); });
    if (sName == "set") return YesOrNo(rChip.SetCurrentFanSpeedPercentage(a, static_cast<uint32_t>(b)));
    if (sName == "duty") return g_Out<uint32_t>([&](uint32_t* p) { return rChip.GetCurrentFanSpeedPercentage(a, p); });
    if (sName == "save") return g_Out<uint32_t>([&](uint32_t* p) { return rChip.SaveFanControl(a, p); });
    if (sName == "restore") return YesOrNo(rChip.RestoreFanControl(a, static_cast<uint32_t>(b)));
    return "no such operation";
}

struct CRunner {
    std::function<bool(uint32_t)> Init;
    std::function<std::string(const std::string&, int32_t, int32_t)> Run;
};
template <class TDevice> CRunner g_Runner() {
    const auto pDevice = std::make_shared<TDevice>(g_Make<TDevice>());
    return {[pDevice](uint32_t uIndex) { return pDevice->Init(uIndex); },
            [pDevice](const std::string& sName, int32_t a, int32_t b) { return g_Run(*pDevice, sName, a, b); }};
}
CRunner g_MakeRunner(const std::string& sClass) {
    if (sClass == "SQ3") return g_Runner<vxt::CSQ3>();
    if (sClass == "SQ4") return g_Runner<vxt::CSQ4>();
    return sClass == "Fintek" ? g_Runner<vxt::CF71882>() : g_Runner<vxt::CIT8716F>();
}

struct SensorChips : CSimulatedPc {
    /// Switches on a board with a bare south bridge and a bare chip, which answers at its configuration ports at once, with
    /// the registers that make it start, and those that differ.
    void StartBoard(const std::string& sClass, const std::string& sChanges) {
        Start(kDefaultMachine, [&](vxtsim::CMachineDescription& rMachine) {
            rMachine.Pci.erase({0, 0x11, 0});  // the SATA function, by which the bridge is known
            auto& rSata = rMachine.Pci[{0, 0x12, 1}] = std::vector<uint8_t>(256);
            rSata[0] = 0x02, rSata[1] = 0x10, rSata[2] = sClass == "SQ3" ? 0x81 : 0x94, rSata[3] = 0x43;
            rMachine.Memory[0xFEC000F0] = std::vector<uint8_t>(8);
        });
        ASSERT_TRUE(StartDriver());
        std::string sRegisters = "c30=1 c60=2 c61=90 p6C=F0 p6D=0 p6E=C0 p6F=FE ";
        if (sClass == "Fintek") sRegisters += "c20=5 c21=41 c23=19 c24=34 ";
        if (sClass == "ITE") sRegisters += "c20=87 c21=16 m58=90 ";
        std::map<char, CRegisterChip*> Chips;
        const bool bBridge = sClass.starts_with("SQ");
        Chips['m'] = &Machine().Plug<CRegisterChip>(static_cast<uint16_t>(bBridge ? 0xCD0 : 0x295));
        Chips['p'] = &Machine().Plug<CRegisterChip>(uint16_t{0xCD6});
        Chips['c'] = &Machine().Plug<CRegisterChip>(uint16_t{0x2E});
        Chips['C'] = &Machine().Plug<CRegisterChip>(uint16_t{0x4E}, uint8_t{0xFF});
        std::istringstream Words(sRegisters + (sChanges == "-" ? "" : sChanges));
        for (std::string sWord; Words >> sWord;) {
            const auto [uRegister, ullValue] = *g_HexPairs(sWord.substr(1)).begin();
            if (Chips.contains(sWord[0]))
                Chips[sWord[0]]->m_Registers[uRegister] = static_cast<uint8_t>(ullValue);
            else
                Machine().SetPciDword({0, 0x14, 3}, uRegister, static_cast<uint32_t>(ullValue));
        }
        TakeTrace(), m_Log.Take();
    }

    /// The requests: "m34" reads a register of a pair, "m34=7F" writes it, "m34." only selects it, "m=7F" writes the one that
    /// was selected; m: monitor, p: power management, c and C: configuration at 2E and 4E.
    std::string Traffic() {
        const std::map<std::string, std::string> kPairs = {
            {"0CD0", "m"}, {"0295", "m"}, {"0CD6", "p"}, {"002E", "c"}, {"004E", "C"}};
        const std::map<std::string, std::string> kData = {
            {"0CD1", "m"}, {"0296", "m"}, {"0CD7", "p"}, {"002F", "c"}, {"004F", "C"}};
        Lines Tokens;
        bool bSelected = false;
        for (const std::string& sRequest : TakeRequests()) {
            std::istringstream Words(sRequest);
            std::string sVerb, sWidth, sPort, sValue;
            Words >> sVerb >> sWidth >> sPort >> sValue;
            const bool bPort = (sVerb == "in" || sVerb == "out") && sWidth == "1";
            if (bPort && kPairs.contains(sPort)) {
                Tokens.push_back(kPairs.at(sPort) + sValue + '.');
                bSelected = true;
                continue;
            }
            if (!bPort || !kData.contains(sPort)) {
                Tokens.push_back(sRequest);
            } else {
                if (!bSelected || Tokens.back()[0] != kData.at(sPort)[0]) Tokens.push_back(kData.at(sPort) + '.');
                Tokens.back().pop_back();
                if (sVerb == "out") Tokens.back() += '=' + sValue;
            }
            bSelected = false;
        }
        std::string sTraffic;
        for (const std::string& sToken : Tokens) sTraffic += (sTraffic.empty() ? "" : " ") + sToken;
        return sTraffic.empty() ? "-" : sTraffic;
    }
};

TEST_F(SensorChips, EveryOperationAnswersAsksAndLogsWhatItsRowSays) {
    for (const auto& rRow : g_CaseRows("sensor_traffic.txt")) {
        ASSERT_GE(rRow.size(), 5u) << rRow[0];
        SCOPED_TRACE(rRow[0] + " | " + rRow[1] + " | " + rRow[2]);
        StartBoard(rRow[0], rRow[1]);
        const CRunner Chip = g_MakeRunner(rRow[0]);
        std::istringstream Words(rRow[2]);
        std::string sName;
        int32_t a = 0, b = 0;
        Words >> sName >> a >> b;
        if (sName == "start") {
            EXPECT_EQ(YesOrNo(Chip.Init(static_cast<uint32_t>(a))), rRow[3]);
        } else {
            ASSERT_TRUE(Chip.Init(0));
            TakeTrace(), m_Log.Take();
            EXPECT_EQ(Chip.Run(sName, a, b), rRow[3]);
        }
        EXPECT_EQ(Traffic(), rRow[4]);
        Lines Expected;
        for (size_t i = 5; i < rRow.size(); ++i) {
            const size_t uIn = rRow[i].rfind(" in ");
            Expected.push_back(
                uIn == std::string::npos ? rRow[i] : g_ProcessError(rRow[i].substr(0, uIn), rRow[i].substr(uIn + 4)));
        }
        EXPECT_EQ(m_Log.TakeErrors(), Expected);
    }
}

TEST_F(SensorChips, OfTheMachinesDecodeAsTheirMakersSay) {
    std::string sMachine, sClass;
    CRunner Chip;
    for (const auto& rRow : g_CaseRows("sensor_machines.txt")) {
        ASSERT_EQ(rRow.size(), 4u) << rRow[0];
        SCOPED_TRACE(rRow[0] + " | " + rRow[1] + " | " + rRow[2]);
        if (rRow[0] != sMachine || rRow[1] != sClass) {
            Start(sMachine = rRow[0]);
            ASSERT_TRUE(StartDriver());
            Chip = g_MakeRunner(sClass = rRow[1]);
            ASSERT_TRUE(Chip.Init(0));
        }
        std::istringstream Operation(rRow[2]), Values(rRow[3]);
        std::string sName, sValue;
        int32_t nWhich = 0;
        Operation >> sName >> nWhich;
        for (int32_t i = 0; Values >> sValue; ++i) {
            std::string sFound = Chip.Run(sName, i, nWhich);
            if (sFound.starts_with("yes ")) sFound.erase(0, 4);
            EXPECT_EQ(sFound, sValue) << i;
        }
    }
}

struct ClockCalibration : CFirmwarePc {
    /// A board whose setup has the item with these options, as the library finds it at its start.
    void UseOptions(const std::string& sOptions, const std::string& sValue) {
        std::string sText = kFirmware;
        sText.replace(sText.find("value = 1\noptions = Disabled|Auto"), 33, "value = " + sValue + "\n" + sOptions);
        Boot("", sText);
        Handler().Init();
        ASSERT_TRUE(vxt::g_GetCMOSItemList().Init());
        m_Log.Take();
    }
    int32_t Value() { return vxt::g_GetCMOSItemList().GetItemValue(0); }

    vxt::CSQ4 m_Bridge = g_Make<vxt::CSQ4>();
};

TEST_F(ClockCalibration, IsTheSetupItemsOption) {
    UseOptions("options = Enabled|Disabled|Auto", "2");
    EXPECT_TRUE(m_Bridge.IsCTBSupported() && m_Bridge.GetCTBState());
    EXPECT_TRUE(m_Bridge.SetCTBState(false));
    EXPECT_EQ(Value(), 1);
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    EXPECT_FALSE(m_Bridge.GetCTBState());
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(g_ProcessError("strcmp(pItemInfo->szOptionList[nItemValue], CMOS_ITEM_DISABLED)",
                                           "CSQ4::GetCTBState")))
        << "off is told like a failure";
    EXPECT_TRUE(m_Bridge.SetCTBState(true));
    EXPECT_EQ(Value(), 2);

    UseOptions("options = Disabled|On", "1");
    EXPECT_TRUE(m_Bridge.SetCTBState(true)) << "no such option: nothing changes";
    EXPECT_EQ(Value(), 1);
    UseOptions("", "20");
    EXPECT_TRUE(m_Bridge.GetCTBState()) << "a value behind the last text is not off";
    EXPECT_TRUE(m_Bridge.SetCTBState(false));
    EXPECT_EQ(Value(), 20);
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
}

TEST_F(ClockCalibration, NeedsTheItemAndTheFirmwaresAnswer) {
    UseOptions("options = Disabled|Auto", "1");
    vxt::g_GetFirmwareWmi().Disconnect();
    EXPECT_FALSE(m_Bridge.GetCTBState());
    EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("nItemValue >= 0", "CSQ4::GetCTBState"));
    EXPECT_FALSE(m_Bridge.SetCTBState(false));
    EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("bRetCode", "CSQ4::SetCTBState"));
    vxt::g_GetCMOSItemList().UnInit();
    EXPECT_FALSE(m_Bridge.IsCTBSupported());
    EXPECT_FALSE(m_Bridge.GetCTBState());
    EXPECT_FALSE(m_Bridge.SetCTBState(true));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("usItemIndex != 0xFFFF", "CSQ4::GetCTBState"),
                                                g_ProcessError("usItemIndex != 0xFFFF", "CSQ4::SetCTBState")));
}

}  // namespace
