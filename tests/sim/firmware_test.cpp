// The simulated firmware and the management data around it, asked as a WMI client asks.
#include <gmock/gmock.h>

#include <sstream>

#include "sim/sim_client.h"
#include "sim/wmi.h"
#include "support/text_cases.h"

namespace vxtsim {
namespace {

using ::testing::ElementsAre;

constexpr const char* kWmi = "root\\wmi";
constexpr const char* kInstance = "QOR_ACPI.InstanceName=\"ACPI\\PNP0C14\\0_0\"";
/// The rows of one kind in tests/cases/sim_firmware.txt, without the kind.
template <size_t uColumns> std::vector<std::array<std::string, uColumns>> g_Rows(const std::string& sKind) {
    std::vector<std::array<std::string, uColumns>> Rows;
    for (const std::vector<std::string>& rColumns : vxttest::g_CaseRows("sim_firmware.txt")) {
        if (rColumns[0] != sKind) continue;
        EXPECT_EQ(rColumns.size(), uColumns + 1) << rColumns[1];
        std::ranges::copy(rColumns.begin() + 1, rColumns.end(), Rows.emplace_back().begin());
    }
    EXPECT_FALSE(Rows.empty()) << sKind;
    return Rows;
}

/// A value as a machine file writes it, or CLASS{PROPERTY=VALUE;...} for an object.
CWmiValue g_Value(const std::string& sText) {
    const size_t uBrace = sText.find('{');
    if (uBrace == std::string::npos)
        return g_Parsed("[machine]\n[wmi root\\wmi X]\nvalue = " + g_Written(sText)).Wmi[0].Properties.at("value");
    CWmiObject Object{sText.substr(0, uBrace), {}};
    std::istringstream Properties(sText.substr(uBrace + 1, sText.size() - uBrace - 2));
    for (std::string sName, sValue; std::getline(Properties, sName, '=') && std::getline(Properties, sValue, ';');)
        Object.Properties[sName] = g_Value(sValue);
    return CWmiValue::Object(std::move(Object));
}

CWmiObject g_Parameters(const std::string& sName, CWmiValue Value) {
    return {"__PARAMETERS", {{sName, std::move(Value)}}};
}

/// A firmware and its answers.
struct CSimFirmwareTest : ::testing::Test {
    void Use(const std::string& sMore) {
        m_pWmi.reset();
        m_pClient =
            std::make_unique<CSimClient>(g_Parsed(vxttest::g_SourceText("tests/cases/sim_firmware.machine") + sMore));
        m_pWmi = std::make_unique<CSimWmi>(m_pClient->m_Machine);
    }
    CSimFirmwareTest() { Use(""); }

    CSimFirmware& Firmware() { return *m_pWmi->Firmware(); }
    CSimMachine& Machine() { return m_pClient->m_Machine; }

    /// The output's only parameter; nothing when the execution failed, an empty value when it has none.
    std::optional<CWmiValue> Execute(const std::string& sMethod, const CWmiObject* pInput = nullptr) {
        std::optional<CWmiObject> Output;
        if (!m_pWmi->Execute(kWmi, kInstance, sMethod, pInput, Output)) return std::nullopt;
        if (!Output || Output->Properties.empty()) return CWmiValue();
        EXPECT_EQ(Output->Properties.size(), 1u);
        return Output->Properties.begin()->second;
    }
    std::optional<CWmiValue> ExecuteOn(const std::string& sMethod, const std::string& sName, CWmiValue Value) {
        const CWmiObject Input = g_Parameters(sName, std::move(Value));
        return Execute(sMethod, &Input);
    }
    CWmiObject Package(uint32_t uId, int32_t nValue) {
        CWmiObject Object = m_pWmi->GetObject(kWmi, "SetValuePackage").value();
        Object.Properties.at("id").nNumber = static_cast<int32_t>(uId);
        Object.Properties.at("value").nNumber = nValue;
        return Object;
    }
    /// The status of setting an object.
    int32_t Set(uint32_t uId, int32_t nValue) {
        return ExecuteOn("SetValue", "pack", CWmiValue::Object(Package(uId, nValue))).value().nNumber;
    }
    /// The result block of a command with two bytes at each of its two arguments.
    std::vector<uint8_t> Command(uint32_t uCode, uint16_t usFirst = 0, uint16_t usSecond = 0) {
        std::vector<uint8_t> Block(256);
        std::memcpy(&Block[0], &uCode, 4), std::memcpy(&Block[4], &usFirst, 2), std::memcpy(&Block[6], &usSecond, 2);
        return ExecuteOn("RunCMD", "Inbuf", CWmiValue::ByteArray(std::move(Block)))
            .value()
            .pObject->Properties.at("Result")
            .Bytes;
    }

    std::unique_ptr<CSimClient> m_pClient;
    std::unique_ptr<CSimWmi> m_pWmi;
};

// --- what the methods answer

TEST_F(CSimFirmwareTest, TakesLegalValuesAndRefusesOthers) {
    for (const auto& [sCase, sId, sValue, sStatus, sTaken] : g_Rows<5>("value")) {
        SCOPED_TRACE(sCase);
        const auto uId = static_cast<uint32_t>(std::stoul(sId, nullptr, 16));
        const auto nValue = static_cast<int32_t>(std::stol(sValue));
        const auto Before = Firmware().Value(uId);
        EXPECT_EQ(Set(uId, nValue), std::stoi(sStatus));
        EXPECT_EQ(Firmware().Value(uId), sTaken == "taken" ? nValue : Before);
    }
}

TEST_F(CSimFirmwareTest, RunsCommandsOnItsSetupItems) {
    const auto Number = [](const std::string& sText) { return static_cast<uint32_t>(std::stoul(sText, nullptr, 16)); };
    for (const auto& [sCase, sCode, sFirst, sSecond, sReturnCode, sData] : g_Rows<6>("command")) {
        std::vector<uint8_t> Result =
            Command(Number(sCode), static_cast<uint16_t>(Number(sFirst)), static_cast<uint16_t>(Number(sSecond)));
        ASSERT_EQ(Result.size(), 512u) << sCase;
        uint32_t auWords[2];
        std::memcpy(auWords, Result.data(), sizeof(auWords));
        EXPECT_EQ(auWords[0], Number(sReturnCode)) << sCase;
        EXPECT_EQ(auWords[1], Number(sData)) << sCase;
    }
    EXPECT_EQ(Firmware().ItemValue(1), 0u);
    EXPECT_EQ(Firmware().ItemValue(2), 255u);
    EXPECT_EQ(Firmware().ItemValue(0), std::nullopt);
    EXPECT_EQ(Firmware().ItemValue(3), std::nullopt);
}

TEST_F(CSimFirmwareTest, DescribesAnItemInOneBlock) {
    const std::string sName(64, 'N'), sOption(22, 'O');  // without terminators, to the last byte
    std::string sOptions = sOption;
    for (int i = 1; i < 20; ++i) sOptions += "|" + sOption;
    Use("[firmware item]\nname = " + sName + "\nvalue = 513\noptions = " + sOptions + "\n");
    std::vector<uint8_t> Expected{0, 0, 0, 0};
    Expected.insert(Expected.end(), sName.begin(), sName.end());
    Expected.insert(Expected.end(), {1, 2, 20, 0});
    Expected.resize(512, 'O');
    EXPECT_EQ(Command(0x00030002, 3), Expected);
}

// --- strictness

TEST_F(CSimFirmwareTest, RefusesInputThatIsNotWhatTheMethodTakes) {
    for (const auto& [sCase, sMethod, sName, sValue, sTaken] : g_Rows<5>("input"))
        EXPECT_EQ(ExecuteOn(sMethod, sName, g_Value(sValue)).has_value(), sTaken == "taken") << sCase;
    CWmiValue NullArray = CWmiValue::ByteArray(std::vector<uint8_t>(256)), NoData = NullArray;
    NullArray.bNullArray = NoData.bNoData = true;
    EXPECT_EQ(ExecuteOn("RunCMD", "Inbuf", NullArray), std::nullopt);
    EXPECT_EQ(ExecuteOn("RunCMD", "Inbuf", NoData), std::nullopt);
    for (const char* const pszMethod : {"GetValue", "SetValue", "GetInfo", "GetDValues", "BiosRequest", "RunCMD"})
        EXPECT_EQ(Execute(pszMethod), std::nullopt) << pszMethod << " without input";
    EXPECT_EQ(Execute("GetVolume"), std::nullopt);
    EXPECT_EQ(Execute("init"), std::nullopt) << "equal letters";
}

// --- answers that are not the right ones

TEST_F(CSimFirmwareTest, FailsAndTakesItsTimeAsTheFileSays) {
    Use("[firmware answer SetValue]\nfails = 1\ndelay = 1500\n[firmware answer BiosRequest]\nfails = 1\n");
    const CWmiObject Input = g_Parameters("pack", CWmiValue::Object(Package(0x02020000, 9)));
    EXPECT_EQ(Execute("SetValue", &Input), std::nullopt);
    EXPECT_EQ(Machine().Now(), 1'500'000'000u);
    EXPECT_EQ(Firmware().Value(0x02020000), -5) << "nothing was done";
    EXPECT_EQ(Firmware().Executions("SetValue"), 1u);

    Firmware().SetAnswer("SetValue", {{{"status", CWmiValue::Integer(8)}}, false, 0});
    EXPECT_EQ(Set(0x02020000, 9), 8);
    EXPECT_EQ(Firmware().Value(0x02020000), 9) << "done, whatever is told";
    EXPECT_EQ(Machine().Now(), 1'500'000'000u);
    Firmware().SetAnswer("SetValue", {});
    EXPECT_EQ(Set(0x02020000, 10), 0);
}

// --- the clock that an object drives

TEST_F(CSimFirmwareTest, SettingTheClockObjectChangesThePaceOfTheMachine) {
    EXPECT_EQ(Machine().ReferenceMHz(), 201.5) << "the hardware's own at first";
    EXPECT_EQ(Set(0x01010000, 205000), 1);
    EXPECT_EQ(Machine().ReferenceMHz(), 201.5) << "a refused value changes nothing";
    EXPECT_EQ(Set(0x01010000, 210000), 0);
    EXPECT_EQ(Machine().ReferenceMHz(), 210.0);
    EXPECT_EQ(Set(0x02020000, 190000), 0);
    EXPECT_EQ(Machine().ReferenceMHz(), 210.0) << "the other objects drive nothing";

    for (const int32_t nValue : {0, -200000, 999, 1000001}) {
        m_pClient = std::make_unique<CSimClient>(g_Parsed("[machine]\n[firmware]\n[firmware object 01010000]\n"));
        m_pWmi = std::make_unique<CSimWmi>(m_pClient->m_Machine);
        EXPECT_EQ(Set(0x01010000, nValue), 0);
        EXPECT_EQ(Machine().ReferenceMHz(), 200.0) << "no board makes this: " << nValue;
    }
}

TEST(ReferenceClock, TimersCoresAndCountersFollowFromWhereTheyAre) {
    const struct {
        const char* pszMachine;
        double dReference, dTimeStamp;  // MHz at power-on
        bool bAtReference = false;      // the time-stamp counter's pace
    } Cases[] = {{"family10h-ddr3", 200.0, 200.0, true},
                 {"family10h-ddr3", 200.0, 3000.0},
                 {"family11h-mobile", 200.0, 2100.0},
                 {"k8-first", 201.0, 2010.0}};
    for (const auto& [pszMachine, dReference, dTimeStamp, bAtReference] : Cases) {
        SCOPED_TRACE(pszMachine);
        CSimClient Client(pszMachine);
        CSimMachine& rMachine = Client.m_Machine;
        if (bAtReference) rMachine.Msr(0, 0xC0010015) &= ~(uint64_t{1} << 24);
        const uint64_t ullTimer = Client.MapApicTimer();
        rMachine.WriteMapped(ullTimer + 0xE0, 11);  // by 1
        rMachine.WriteMapped(ullTimer + 0x80, 10'000'000);
        uint64_t ullTicks = 0;
        const auto TicksSince = [&] {
            uint64_t ullNow = 0;
            EXPECT_TRUE(rMachine.ReadMsr(0, 0x10, ullNow));
            return static_cast<double>(ullNow - std::exchange(ullTicks, ullNow));
        };
        TicksSince();
        rMachine.Advance(10'000'000);
        EXPECT_NEAR(TicksSince(), dTimeStamp * 10'000, 2);
        const double dCount = 10'000'000 - dReference * 10'000;
        EXPECT_NEAR(rMachine.ReadMapped(ullTimer + 0x90), dCount, 2);
        rMachine.SetReferenceClock(dReference * 1.25);
        EXPECT_NEAR(rMachine.ReadMapped(ullTimer + 0x90), dCount, 2) << "no jump";
        rMachine.Advance(10'000'000);
        EXPECT_NEAR(TicksSince(), 1.25 * dTimeStamp * 10'000, 2);
        EXPECT_NEAR(rMachine.ReadMapped(ullTimer + 0x90), dCount - 1.25 * dReference * 10'000, 4);
        EXPECT_EQ(rMachine.Description().dReferenceMHz, dReference) << "what the file says stays";
    }
}

TEST(ReferenceClock, ACoreMayKeepItsMultiplierWhenTheClockRises) {
    CSimClient Client("family10h-ddr3");
    CSimMachine& rMachine = Client.m_Machine;
    const uint64_t ullFastest = 30;  // times half the reference clock, as the P-state of 3000 MHz
    rMachine.Msr(0, 0xC0010071) |= ullFastest << 49;
    rMachine.SetReferenceClock(250.0);
    const uint64_t ullStatus = rMachine.Msr(0, 0xC0010071);
    for (const uint32_t uPstate : {1u, 0u}) {
        EXPECT_TRUE(Client.WriteMsr(0xC0010062, uPstate));
        rMachine.Advance(1'000'000);
    }
    EXPECT_EQ(rMachine.Msr(0, 0xC0010071) & 0xFFFF, ullStatus & 0xFFFF) << "back at the first, now of 3750 MHz";
}

// --- classes, instances, paths

TEST_F(CSimFirmwareTest, ClassesAndInstancesAreFoundAtTheirPaths) {
    for (const auto& [sNamespace, sPath, sClass] : g_Rows<3>("path")) {
        SCOPED_TRACE(sNamespace + ":" + sPath);
        const auto Object = m_pWmi->GetObject(sNamespace, sPath);
        ASSERT_EQ(Object.has_value(), sClass != "-");
        if (!Object) continue;
        EXPECT_EQ(Object->sClass, sClass);
        EXPECT_EQ(Object->Properties.at("__CLASS"), CWmiValue::Text(sClass));
        EXPECT_EQ(Object->Properties.at("__PATH"), CWmiValue::Text(sPath));
    }
    const auto Class = m_pWmi->GetObject(kWmi, "Kinds")->Properties;
    EXPECT_EQ(Class.at("first"), CWmiValue::Typed(CWmiValue::kNull)) << "a definition has no values";
    EXPECT_TRUE(Class.contains("second")) << "what any instance has";
    EXPECT_EQ(m_pWmi->GetObject(kWmi, "Kinds.Number=1")->Properties.at("second"), CWmiValue::Integer(2));
    EXPECT_TRUE(CSimWmi::HasNamespace("Root\\CIMV2"));
    EXPECT_FALSE(CSimWmi::HasNamespace("root"));
}

TEST_F(CSimFirmwareTest, MethodsRunWhereTheyAreDeclared) {
    for (const bool bStatic : {false, true}) {
        m_pWmi.reset();
        m_pClient = std::make_unique<CSimClient>(
            g_Parsed(std::string("[machine]\n[firmware]\nstatic_methods = ") + (bStatic ? "1\n" : "0\n")));
        m_pWmi = std::make_unique<CSimWmi>(Machine());
        EXPECT_EQ(m_pWmi->GetMethod(kWmi, "QOR_ACPI", "Init")->bStatic, bStatic);
        std::optional<CWmiObject> Output;
        EXPECT_EQ(m_pWmi->Execute(kWmi, "QOR_ACPI", "Init", nullptr, Output), bStatic);
        EXPECT_EQ(Output.has_value(), bStatic);
        EXPECT_EQ(m_pWmi->Execute(kWmi, kInstance, "Init", nullptr, Output), !bStatic);
        EXPECT_FALSE(m_pWmi->Execute("root\\cimv2", kInstance, "Init", nullptr, Output));
        EXPECT_FALSE(m_pWmi->Execute(kWmi, "SetValuePackage", "Init", nullptr, Output));
        EXPECT_FALSE(Output) << "what an earlier call answered is gone";
    }
}

// --- the built-in machines

TEST(Wmi, EveryBuiltInMachineNamesItsBiosAndShowsTheSameDateInMemory) {
    int nWithoutSerial = 0, nWithFirmware = 0;
    for (const std::string& sName : g_MachineNames()) {
        SCOPED_TRACE(sName);
        CSimMachine Machine(g_Embedded(sName));
        CSimWmi Wmi(Machine);
        const auto Instances = Wmi.GetInstances("root\\cimv2", "Win32_BIOS");
        ASSERT_TRUE(Instances && Instances->size() == 1);
        const auto& rProperties = Instances->front().Properties;
        for (const char* const pszText : {"Manufacturer", "Description", "SMBIOSBIOSVersion", "ReleaseDate"})
            EXPECT_NE(rProperties.at(pszText).sText, "") << pszText;
        nWithoutSerial += rProperties.at("SerialNumber").usType == CWmiValue::kNull;
        nWithFirmware += Wmi.Firmware() != nullptr;

        const std::string sReleased = rProperties.at("ReleaseDate").sText;  // YYYYMMDD...
        ASSERT_EQ(sReleased.size(), 25u);
        std::array<uint8_t, 8> Date;
        Machine.ReadMemory(0xFFFF5, Date);
        EXPECT_EQ(std::string(Date.begin(), Date.end()),
                  sReleased.substr(4, 2) + "/" + sReleased.substr(6, 2) + "/" + sReleased.substr(2, 2));
    }
    EXPECT_EQ(nWithoutSerial, 1);
    EXPECT_EQ(nWithFirmware, 2);
}

TEST(Wmi, TheBuiltInFirmwareTunesWhatItLists) {
    CSimMachine Machine(g_Embedded("family10h-ddr3"));
    CSimWmi Wmi(Machine);
    ASSERT_TRUE(Wmi.Firmware());
    const CFirmwareDescription& rFirmware = *Machine.Description().oFirmware;
    EXPECT_EQ(Wmi.Firmware()->Value(0x01010000).value(), Machine.ReferenceMHz() * 1000) << "it knows its hardware";
    std::set<uint32_t> Ids;
    for (const CFirmwareObject& rObject : rFirmware.Objects) {
        SCOPED_TRACE(rObject.sName);
        Ids.insert(rObject.uId);
        ASSERT_GE(rObject.Info.size(), 4u);
        const auto nMinimum = static_cast<int32_t>(rObject.Info[0]), nMaximum = static_cast<int32_t>(rObject.Info[1]);
        EXPECT_GE(rObject.nValue, nMinimum);
        EXPECT_LE(rObject.nValue, nMaximum);
        if (rObject.Values.empty()) continue;
        EXPECT_EQ(rObject.Values.front(), nMinimum);
        EXPECT_EQ(rObject.Values.back(), nMaximum);
        EXPECT_NE(std::ranges::count(rObject.Values, rObject.nValue), 0);
    }
    for (const uint32_t uClock : {0x01010000, 0x01020000, 0x01030000}) EXPECT_TRUE(Ids.contains(uClock)) << uClock;
    for (uint32_t uVoltage = 0x02010000; uVoltage <= 0x02070000; uVoltage += 0x10000)
        EXPECT_TRUE(Ids.contains(uVoltage)) << uVoltage;
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(rFirmware.Objects[i].uProperty == 1, rFirmware.Objects[i].Values.empty()) << "the flag says: no list";
    EXPECT_EQ(rFirmware.Items.front().sName, "Core Trim Boost");
    EXPECT_THAT(rFirmware.Items.front().Options, ElementsAre("Disabled", "Auto"));
}

}  // namespace
}  // namespace vxtsim
