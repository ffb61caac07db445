// The state of a PC: what a running one tells is what another one begins with, and the file that holds it.
#include "sim/machine_state.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "sim/models/smbus_host.h"
#include "sim/sim_client.h"
#include "sim/wmi.h"

namespace vxtsim {
namespace {

namespace fs = std::filesystem;

constexpr CPciAddress kDram{0, 0x18, 2}, kLink{0, 0x18, 4};

/// Reads or, with bit 30 in the index, writes a register behind a pair of index and data registers.
uint64_t g_Indexed(CSimClient& rClient, CPciAddress Address, uint32_t uPlace, uint32_t uIndex, uint32_t uValue = 0) {
    rClient.WritePci(Address, uPlace + 4, uValue);
    rClient.WritePci(Address, uPlace, uIndex);
    for (int i = 0; uIndex >> 30 == 0 && i < 3; ++i) rClient.ReadPci(Address, uPlace);
    return rClient.ReadPci(Address, uPlace + 4);
}

/// Starts a byte-data transfer of the SMBus controller; reads wait for its end.
uint64_t g_Transfer(CSimClient& rClient, uint8_t ucAddress, uint8_t ucData) {
    const uint16_t usBase = rClient.m_Machine.Model<CSmbusHost>()->Base();
    const uint8_t aucRegisters[][2] = {{0, 0x1F}, {3, 0x40}, {4, ucAddress}, {5, ucData}, {2, 0x48}};
    for (const auto& [ucRegister, ucValue] : aucRegisters) rClient.Out(usBase + ucRegister, ucValue);
    if (ucAddress & 1) rClient.m_Machine.Advance(1'000'000);
    return rClient.In(usBase + 5);
}

std::optional<CWmiObject> g_Run(CSimClient& rClient, const char* pszMethod, const char* pszName, CWmiValue Value) {
    std::optional<CWmiObject> oOutput;
    const CWmiObject Input{"", {{pszName, std::move(Value)}}};
    CSimFirmware Firmware(rClient.m_Machine);
    EXPECT_TRUE(Firmware.Execute(pszMethod, &Input, oOutput));
    return oOutput;
}

struct CKind {
    const char* pszWhat;
    const char* pszMachine;
    void (*pWrite)(CSimClient& rClient);
    uint64_t (*pRead)(CSimClient& rClient);
    uint64_t ullExpected;
};
const CKind kKinds[] = {
    {"a P-state under way", "based_on = family10h-ddr3",
     [](CSimClient& r) { r.m_uCore = 2, r.WriteMsr(0xC0010062, 2); },
     [](CSimClient& r) { return r.m_uCore = 2, r.ReadMsr(0xC0010063).value() << 16 | (*r.ReadMsr(0xC0010071) & 0x3F); },
     0x20002},
    {"a frequency under way", "based_on = k8-first", [](CSimClient& r) { r.WriteMsr(0xC0010041, 0x10E08); },
     [](CSimClient& r) { return *r.ReadMsr(0xC0010042) & 0x3F; }, 8},
    {"one core's register", "based_on = family10h-ddr3",
     [](CSimClient& r) { r.m_uCore = 1, r.WriteMsr(0xC0010015, 0x1234); },
     [](CSimClient& r) {
         const uint64_t ullFirst = *r.ReadMsr(0xC0010015);
         r.m_uCore = 1;
         return ullFirst << 32 | *r.ReadMsr(0xC0010015);
     },
     0x0100001000001234},
    {"configuration space", "based_on = k8-first", [](CSimClient& r) { r.WritePci(kDram, 0x88, 0x13723334); },
     [](CSimClient& r) { return uint64_t{r.ReadPci(kDram, 0x88)}; }, 0x13723334},
    {"additional data, being written", "based_on = family10h-ddr3",
     [](CSimClient& r) { g_Indexed(r, kDram, 0x198, 0x40000004, 0xABCD); },
     [](CSimClient& r) { return g_Indexed(r, kDram, 0x198, 4); }, 0xABCD},
    {"a link's PHY, being written", "based_on = family10h-ddr3",
     [](CSimClient& r) { g_Indexed(r, kLink, 0x188, 0x40000170, 0x77); },
     [](CSimClient& r) { return g_Indexed(r, kLink, 0x188, 0x170); }, 0x77},
    {"a port", "[ports]\n0080 = 01 02", [](CSimClient& r) { r.Out(0x81, 0x55); },
     [](CSimClient& r) { return uint64_t{r.In(0x80, 2)}; }, 0x5501},
    {"an SMBus device, being written", "based_on = family10h-ddr3", [](CSimClient& r) { g_Transfer(r, 0xA0, 0x99); },
     [](CSimClient& r) { return g_Transfer(r, 0xA1, 0); }, 0x99},
    {"memory", "[memory 1000]\n0: 00 00 00 00 00 00 00 00", [](CSimClient& r) { r.WriteMemory(0x1004, 0x12345678); },
     [](CSimClient& r) { return uint64_t{r.ReadMemory(0x1004)}; }, 0x12345678},
    {"a table's memory", "based_on = k8-first",
     [](CSimClient& r) { r.WriteMemory(r.m_Machine.AcpiAddress("RSDT") + 16, 0x4F575453); },
     [](CSimClient& r) { return uint64_t{r.ReadMemory(r.m_Machine.AcpiAddress("RSDT") + 16)}; }, 0x4F575453},
    {"the firmware's clock, which is the PC's", "based_on = family10h-ddr3",
     [](CSimClient& r) {
         const CWmiObject Package{"SetValuePackage",
                                  {{"id", CWmiValue::Integer(0x01010000)}, {"value", CWmiValue::Integer(210000)}}};
         g_Run(r, "SetValue", "pack", CWmiValue::Object(Package));
     },
     [](CSimClient& r) {
         const CSimFirmware Firmware(r.m_Machine);
         return static_cast<uint64_t>(r.m_Machine.ReferenceMHz()) * 1000000 +
                static_cast<uint64_t>(Firmware.Value(0x01010000).value());
     },
     210210000},
    {"a setup item", "based_on = family10h-ddr3",
     [](CSimClient& r) {
         std::vector<uint8_t> Block(CSimFirmware::kCommandBytes);
         Block[0] = 4, Block[2] = 3, Block[4] = 1;  // item 1 becomes 0
         g_Run(r, "RunCMD", "Inbuf", CWmiValue::ByteArray(std::move(Block)));
     },
     [](CSimClient& r) { return uint64_t{CSimFirmware(r.m_Machine).ItemValue(1).value()}; }, 0},
};

TEST(MachineState, WhatWasWrittenIsWhatAPcOfTheDescriptionBeginsWith) {
    for (const CKind& rKind : kKinds) {
        SCOPED_TRACE(rKind.pszWhat);
        CSimClient First(g_Parsed(std::string("[machine]\n") + rKind.pszMachine));
        EXPECT_NE(rKind.pRead(First), rKind.ullExpected) << "it is so anyway";
        First.m_Machine.PowerCycle(), First.m_uCore = 0;
        const uint64_t ullChanges = First.m_Machine.Changes();
        rKind.pWrite(First);
        EXPECT_GT(First.m_Machine.Changes(), ullChanges);
        const CMachineDescription State = g_Parsed(g_FormatMachine(First.m_Machine.Describe()));
        CSimClient Second(State);
        EXPECT_EQ(Second.m_Machine.Describe(), State) << "nothing has changed yet";
        EXPECT_EQ(rKind.pRead(Second), rKind.ullExpected);
    }
}

TEST(MachineState, ReadingChangesNothing) {
    CSimClient Client("family10h-ddr3");
    const CMachineDescription AtFirst = Client.m_Machine.Describe();
    g_Indexed(Client, kDram, 0x98, 0x33), g_Transfer(Client, 0xA1, 0), Client.ReadMsr(0xC0010071);
    EXPECT_EQ(Client.m_Machine.Changes(), 0u);
    EXPECT_EQ(Client.m_Machine.Describe(), AtFirst);
}

/// A folder with a state file in it.
struct StateFile : ::testing::Test {
    StateFile() { fs::create_directories(m_Folder); }
    ~StateFile() override { fs::remove_all(m_Folder); }
    /// The error of taking hold of the file; empty when that went well.
    std::string Open(const std::string& sMachine = "") {
        m_pState = std::make_unique<CMachineState>();
        std::string sError;
        return m_pState->Open(m_sFile, sMachine, m_Machine, sError) ? "" : sError.substr(m_sFile.size());
    }
    std::string Text() const {
        std::ifstream File(m_sFile, std::ios::binary);
        return {std::istreambuf_iterator<char>(File), {}};
    }
    void Write(const std::string& sText) const { std::ofstream(m_sFile, std::ios::binary) << sText; }

    fs::path m_Folder = fs::path(testing::TempDir()) / ("vxt-state-" + std::to_string(getpid()));
    std::string m_sFile = (m_Folder / "pc.state").string();
    CMachineDescription m_Machine;
    std::unique_ptr<CMachineState> m_pState;
};

TEST_F(StateFile, IsWrittenWholeWhenSomethingChangedAndOnlyThen) {
    ASSERT_EQ(Open("k8-first"), "");
    const std::string sMade = Text();
    CSimClient Client(m_Machine);
    std::string sError;
    Client.WritePci(kDram, 0x88, Client.ReadPci(kDram, 0x88));
    Client.WriteMsr(0xC0010041, *Client.ReadMsr(0xC0010041));
    const auto Inode = [this] {
        struct stat Found {};
        stat(m_sFile.c_str(), &Found);
        return Found.st_ino;
    };
    const ino_t Before = Inode();
    EXPECT_TRUE(m_pState->Keep(Client.m_Machine, sError));
    EXPECT_TRUE(Text() == sMade && Inode() == Before) << "the same was written";
    Client.WritePci(kDram, 0x88, 0x11111111);
    EXPECT_TRUE(m_pState->Keep(Client.m_Machine, sError)) << sError;
    EXPECT_EQ(g_Parsed(Text()), Client.m_Machine.Describe()) << "while it is still held";
    EXPECT_NE(Inode(), Before) << "written over in place";
    m_pState.reset();
    EXPECT_EQ(Open(), "");
    EXPECT_EQ(CSimClient(m_Machine).ReadPci(kDram, 0x88), 0x11111111u);
    EXPECT_EQ(std::distance(fs::directory_iterator(m_Folder), {}), 1) << "nothing lies beside it";
}

TEST_F(StateFile, BelongsToOneProcessAndOneMachine) {
    ASSERT_EQ(Open("k8-first"), "");
    CSimClient Client(m_Machine);
    for (const uint32_t uWritten : {Client.ReadPci(kDram, 0x88), 1u}) {  // the file is still the first, then another
        CMachineState Second;
        std::string sError;
        EXPECT_TRUE(Client.WritePci(kDram, 0x88, uWritten) && m_pState->Keep(Client.m_Machine, sError));
        EXPECT_FALSE(Second.Open(m_sFile, "", m_Machine, sError));
        EXPECT_EQ(sError, m_sFile + ": another process uses it");
    }
    m_pState.reset();
    EXPECT_EQ(Open("k8-revf-dual"), ": the state of k8-first, not of k8-revf-dual");
    m_pState.reset();
    EXPECT_EQ(Open("k8-first"), "");
    m_pState.reset();

    const std::string sMachine = (m_Folder / "my.machine").string();
    std::ofstream(sMachine) << "[machine]\nbased_on = k8-first\n";
    EXPECT_EQ(Open(sMachine), "") << "the same under another name";
    m_pState.reset();
    fs::remove(m_sFile), Write("");
    EXPECT_EQ(Open(sMachine), "") << "an empty file is none yet";
    m_pState.reset();
    std::ofstream(sMachine) << "[machine]\nbased_on = k8-revf-dual\n";
    EXPECT_EQ(Open(sMachine), ": the state of " + sMachine + " before that file changed");
}

TEST_F(StateFile, IsLeftAloneWhenItIsNone) {
    const std::string sMachine = "[machine]\nname = mine\n";
    Write(sMachine);
    EXPECT_EQ(Open(), ": a machine file and no state of a PC: it is not written to");
    EXPECT_EQ(Text(), sMachine);
    Write("[begin]\n[machine]\n");
    EXPECT_EQ(Open(), ":2: expected [end] at the end of a whole file, found none");
    m_pState.reset(), fs::remove(m_sFile);
    CMachineState Made;
    std::string sError;
    EXPECT_FALSE(Made.Open(m_sFile, "nobody", m_Machine, sError));
    EXPECT_THAT(sError, testing::StartsWith("nobody: no such machine"));
    m_sFile = m_Folder.string();
    EXPECT_EQ(Open(), ": Is a directory");
}

}  // namespace
}  // namespace vxtsim
