// The simulated firmware and the management data around it, asked as a WMI client asks.
#include <gmock/gmock.h>

#include "sim/sim_client.h"
#include "sim/wmi.h"

namespace vxtsim {
namespace {

using ::testing::ElementsAre;

constexpr const char* kWmi = "root\\wmi";
constexpr const char* kInstance = "QOR_ACPI.InstanceName=\"ACPI\\PNP0C14\\0_0\"";
constexpr const char* kText = R"([machine]
reference_clock = 201.5
[wmi root\cimv2 Win32_BIOS]
Manufacturer = text:Maker
SerialNumber = null
[wmi root\wmi Kinds]
first = number:1
[wmi root\wmi Kinds]
second = number:2
[firmware]
version = 7
vendor = QOR Boards
graphics = 5A 1
[firmware object 01010000]
name = Clock
value = 200000
values = 190000 200000 210000
[firmware object 02010000]
name = Limited
property = 1
value = 1500
info = 1300 1900 1500 4294967295
[firmware object 02020000]
name = Free
value = -5
[firmware object 02030000]
name = Refusing
value = 1
status = 3
[firmware object 02040000]
name = Stuck
value = 1
values = 1 2
stuck = 1
[firmware object 02050000]
name = At most
info = 0 10
[firmware item]
name = Core Trim Boost
value = 1
options = Disabled|Auto
[firmware item]
name = Timeout
value = 300
)";

CWmiObject g_Parameters(const std::string& sName, CWmiValue Value) {
    return {"__PARAMETERS", {{sName, std::move(Value)}}};
}

/// A firmware and its answers.
struct CSimFirmwareTest : ::testing::Test {
    void Use(const std::string& sMore) {
        m_pWmi.reset();
        m_pClient = std::make_unique<CSimClient>(g_Parsed(kText + sMore));
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
    const struct {
        const char* pszCase;
        uint32_t uId;
        int32_t nValue, nStatus;
        bool bTaken;
    } Cases[] = {
        {"listed", 0x01010000, 210000, 0, true},
        {"not listed", 0x01010000, 205000, 1, false},
        {"at the minimum", 0x02010000, 1300, 0, true},
        {"at the maximum", 0x02010000, 1900, 0, true},
        {"below", 0x02010000, 1299, 1, false},
        {"above", 0x02010000, 1901, 1, false},
        {"anything", 0x02020000, INT32_MIN, 0, true},
        {"refusing", 0x02030000, 2, 3, false},
        {"stuck", 0x02040000, 2, 0, false},
        {"only a maximum: 0", 0x02050000, 0, 0, true},
        {"only a maximum: 11", 0x02050000, 11, 1, false},
        {"only a maximum: -1", 0x02050000, -1, 1, false},
        {"unknown", 0x02990000, 0, 1, false},
    };
    for (const auto& [pszCase, uId, nValue, nStatus, bTaken] : Cases) {
        SCOPED_TRACE(pszCase);
        const auto Before = Firmware().Value(uId);
        EXPECT_EQ(Set(uId, nValue), nStatus);
        EXPECT_EQ(Firmware().Value(uId), bTaken ? nValue : Before);
    }
}

TEST_F(CSimFirmwareTest, RunsCommandsOnItsSetupItems) {
    const auto Dword = [](const std::vector<uint8_t>& rBlock, size_t uOffset) {
        uint32_t uValue = 0;
        std::memcpy(&uValue, &rBlock.at(uOffset), sizeof(uValue));
        return uValue;
    };
    const struct {
        const char* pszCase;
        uint32_t uCode;
        uint16_t usFirst, usSecond;
        uint32_t uReturnCode, uData;
    } Cases[] = {
        {"count", 0x00030001, 0, 0, 0, 2},
        {"value", 0x00030003, 1, 0, 0, 1},
        {"value of 16 bits", 0x00030003, 2, 0, 0, 300},
        {"value of item 0", 0x00030003, 0, 0, 2, 0},
        {"value past the last", 0x00030003, 3, 0, 2, 0},
        {"value of an item beyond 16 bits", 0x00030003, 1, 1, 2, 0},
        {"describe item 0", 0x00030002, 0, 0, 2, 0},
        {"describe past the last", 0x00030002, 3, 0, 2, 0},
        {"set", 0x00030004, 1, 0, 0, 0},
        {"it is set", 0x00030003, 1, 0, 0, 0},
        {"set beyond the options", 0x00030004, 1, 2, 2, 0},
        {"set without options", 0x00030004, 2, 255, 0, 0},
        {"it is set, too", 0x00030003, 2, 0, 0, 255},
        {"set item 0", 0x00030004, 0, 0, 2, 0},
        {"set past the last", 0x00030004, 3, 0, 2, 0},
        {"unknown", 0x00030005, 1, 0, 1, 0},
    };
    for (const auto& [pszCase, uCode, usFirst, usSecond, uReturnCode, uData] : Cases) {
        const std::vector<uint8_t> Result = Command(uCode, usFirst, usSecond);
        ASSERT_EQ(Result.size(), 512u) << pszCase;
        EXPECT_EQ(Dword(Result, 0), uReturnCode) << pszCase;
        EXPECT_EQ(Dword(Result, 4), uData) << pszCase;
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
    const auto Id = CWmiValue::Integer(0x01010000);
    const auto Changed = [](CWmiValue Value, const std::function<void(CWmiValue&)>& Change) {
        return Change(Value), Value;
    };
    const auto Packed = [&](const std::function<void(CWmiObject&)>& Change) {
        CWmiObject Object = Package(0x01010000, 200000);
        Change(Object);
        return CWmiValue::Object(Object);
    };
    const auto Requested = [&](CWmiValue Words) {
        CWmiObject Object = m_pWmi->GetObject(kWmi, "BiosRequestPackage").value();
        Object.Properties["x"] = std::move(Words);
        return CWmiValue::Object(Object);
    };
    const auto Bytes = CWmiValue::ByteArray(std::vector<uint8_t>(256));
    const struct {
        const char *pszCase, *pszMethod, *pszName;
        CWmiValue Value;
        bool bTaken = false;
    } Cases[] = {
        {"ID", "GetValue", "id", Id, true},
        {"ID under another name", "GetValue", "ID", Id},
        {"ID as text", "GetValue", "id", CWmiValue::Text("01010000")},
        {"null ID", "GetInfo", "id", CWmiValue::Typed(CWmiValue::kNull)},
        {"list of IDs", "GetDValues", "id", CWmiValue::IntegerArray({1})},
        {"package", "SetValue", "pack", Packed([](CWmiObject&) {}), true},
        {"package under another name", "SetValue", "Pack", Packed([](CWmiObject&) {})},
        {"package of another class", "SetValue", "pack", Packed([](CWmiObject& r) { r.sClass = "Package"; })},
        {"package without ID", "SetValue", "pack", Packed([](CWmiObject& r) { r.Properties.erase("id"); })},
        {"package without value", "SetValue", "pack", Packed([](CWmiObject& r) { r.Properties.erase("value"); })},
        {"package with a text", "SetValue", "pack",
         Packed([](CWmiObject& r) { r.Properties["value"] = CWmiValue::Text("1"); })},
        {"request in place of a package", "SetValue", "pack",
         Requested(CWmiValue::IntegerArray(std::vector<int32_t>(9)))},
        {"no object in it", "SetValue", "pack", CWmiValue::Typed(CWmiValue::kObject)},
        {"no package at all", "SetValue", "pack", Id},
        {"nine words", "BiosRequest", "pack", Requested(CWmiValue::IntegerArray(std::vector<int32_t>(9))), true},
        {"eight words", "BiosRequest", "pack", Requested(CWmiValue::IntegerArray(std::vector<int32_t>(8)))},
        {"ten words", "BiosRequest", "pack", Requested(CWmiValue::IntegerArray(std::vector<int32_t>(10)))},
        {"nine bytes", "BiosRequest", "pack", Requested(CWmiValue::ByteArray(std::vector<uint8_t>(9)))},
        {"command", "RunCMD", "Inbuf", Bytes, true},
        {"255 bytes", "RunCMD", "Inbuf", CWmiValue::ByteArray(std::vector<uint8_t>(255))},
        {"257 bytes", "RunCMD", "Inbuf", CWmiValue::ByteArray(std::vector<uint8_t>(257))},
        {"256 words", "RunCMD", "Inbuf", CWmiValue::IntegerArray(std::vector<int32_t>(256))},
        {"null array", "RunCMD", "Inbuf", Changed(Bytes, [](CWmiValue& r) { r.bNullArray = true; })},
        {"array without data", "RunCMD", "Inbuf", Changed(Bytes, [](CWmiValue& r) { r.bNoData = true; })},
        {"command under another name", "RunCMD", "InBuf", Bytes},
        {"input for a method without", "Init", "id", Id},
    };
    for (const auto& [pszCase, pszMethod, pszName, Value, bTaken] : Cases)
        EXPECT_EQ(ExecuteOn(pszMethod, pszName, Value).has_value(), bTaken) << pszCase;
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
    const struct {
        const char *pszNamespace, *pszPath, *pszClass;  // null: not there
    } Cases[] = {
        {"root\\wmi", "QOR_ACPI", "QOR_ACPI"},
        {"ROOT\\Wmi", "QOR_ACPI", "QOR_ACPI"},
        {"root\\wmi", kInstance, "QOR_ACPI"},
        {"root\\wmi", "SetValuePackage", "SetValuePackage"},
        {"root\\wmi", "BiosRequestPackage", "BiosRequestPackage"},
        {"root\\wmi", "Kinds", "Kinds"},
        {"root\\wmi", "Kinds.Number=0", "Kinds"},
        {"root\\wmi", "Kinds.Number=1", "Kinds"},
        {"root\\cimv2", "Win32_BIOS.Number=0", "Win32_BIOS"},
        {"root\\wmi", "Kinds.Number=2", nullptr},
        {"root\\wmi", "kinds", nullptr},
        {"root\\wmi", "Win32_BIOS", nullptr},
        {"root\\cimv2", "QOR_ACPI", nullptr},
        {"root\\wmi", "QOR_ACPI.InstanceName=\"other\"", nullptr},
        {"root\\wmi", "QOR_ACPI.", nullptr},
        {"root\\wmi", "", nullptr},
        {"root\\default", "Kinds", nullptr},
    };
    for (const auto& [pszNamespace, pszPath, pszClass] : Cases) {
        SCOPED_TRACE(std::string(pszNamespace) + ":" + pszPath);
        const auto Object = m_pWmi->GetObject(pszNamespace, pszPath);
        ASSERT_EQ(Object.has_value(), pszClass != nullptr);
        if (!Object) continue;
        EXPECT_EQ(Object->sClass, pszClass);
        EXPECT_EQ(Object->Properties.at("__CLASS"), CWmiValue::Text(pszClass));
        EXPECT_EQ(Object->Properties.at("__PATH"), CWmiValue::Text(pszPath));
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
    EXPECT_EQ(nWithFirmware, 1);
}

TEST(Wmi, TheBuiltInFirmwareTunesWhatItLists) {
    CSimMachine Machine(g_Embedded("family10h-ddr3"));
    CSimWmi Wmi(Machine);
    ASSERT_TRUE(Wmi.Firmware());
    const CFirmwareDescription& rFirmware = *Machine.Description().Firmware;
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
