// The memory controllers' operations: which machine they accept, which registers they touch in which order.
#include <sstream>

#include "devices/memctl/memory_controller_fixture.h"
#include "devices/processor_signatures.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using vxtapi::MemConfig;
using vxtapi::MemTiming;
using namespace vxttest;

const std::string kSwitchRead = "rdmsr 0 C001001F", kSwitchWrite = "wrmsr 0 C001001F 00000000 00404000";

// A family 10h board: a channel of DDR3-1333 that is in use, with bits around all fields.
const std::string kA = "94=3F48090D 78=A0000000 84=5A0000D4 88=C01655B4 8C=00020944",
                  kB = "194=3F48090D 178=0B000006 184=00240004 188=EB000092 18C=01326833";

/// As in memory_traffic.txt, where A and B are the channels above.
Registers g_Channels(std::string sText) {
    for (const auto& [cChannel, psRegisters] : {std::pair{'A', &kA}, {'B', &kB}})
        if (const size_t uPlace = (" " + sText + " ").find({' ', cChannel, ' '}); uPlace != std::string::npos)
            sText.replace(uPlace, 1, *psRegisters);
    return g_Registers(sText);
}

using MemoryController = CMemoryTest;

// --- finding the controller ---

TEST_F(MemoryController, EachClassAcceptsItsProcessorsAndNamesTheCheckThatAnotherFails) {
    for (const auto& [uSignature, Texts] :
         g_Signatures("Fn0000_0001_Eax.ExtendedFamily == 1", "Fn0000_0001_Eax.ExtendedFamily == 2")) {
        Start("family10h-ddr2", [uSignature = uSignature](vxtsim::CMachineDescription& rMachine) {
            rMachine.Cpuid[{1, 0}].uEax = uSignature;
            rMachine.Pci.erase(kDram);
        });
        ASSERT_TRUE(StartDriver());
        for (const EFamily eFamily : {kFirstK8, kRevisionF, kFamily10h, kFamily11h}) {
            m_eFamily = eFamily;
            SCOPED_TRACE(::testing::Message() << Family().pszClass << " on " << std::hex << uSignature);
            EXPECT_FALSE(Controller().Init(0))
                << "an accepted processor fails one step later: its function is not there";
            Lines Expected = {Error("bRetCode", "Init")};
            if (!Texts[eFamily].empty()) Expected.insert(Expected.begin(), Error(Texts[eFamily], "_CheckCpuid"));
            EXPECT_EQ(m_Log.TakeErrors(), Expected);
        }
    }
}

TEST_F(MemoryController, TellsWhatItIs) {
    const struct {
        EFamily eFamily;
        uint32_t u94, uMemoryType;
    } kCases[] = {{kFirstK8, 0x02000000, 7}, {kRevisionF, 8, 8},     {kFamily10h, 8, 8},
                  {kFamily10h, 0x10C, 11},   {kFamily10h, 0x00C, 8}, {kFamily11h, 0x108, 8}};
    for (const auto& [eFamily, u94, uMemoryType] : kCases) {
        BootAndInit(eFamily, {{0x94, u94}});
        SCOPED_TRACE(Family().pszClass);
        EXPECT_EQ(Controller().GetMemoryType(), uMemoryType);
        EXPECT_EQ(Controller().GetPciVendor(), 0x1022u);
        EXPECT_EQ(Controller().GetPciDevice(), Family().usPciDevice);
        EXPECT_STREQ(Controller().GetModel(), Controller().GetName());
        EXPECT_EQ(Controller().GetIndex(), 0u);
        EXPECT_FALSE(Controller().Init(1));
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Error("uIndex == 0", "Init")));
        EXPECT_TRUE(Controller().UnInit());
    }
}

TEST_F(MemoryController, IsRefusedWhereNoChannelHasAClock) {
    for (const EFamily eFamily : {kFirstK8, kRevisionF, kFamily10h, kFamily11h}) {
        const uint32_t uUsed = eFamily == kFirstK8 ? 0x02000000 : 8;
        Boot(eFamily, {{0x90, ~0u}, {0x94, ~uUsed}, {0x194, ~8u}});
        EXPECT_FALSE(Controller().Init(0));
        EXPECT_THAT(m_Log.TakeErrors(),
                    ElementsAre(Error("m_bChannel[0] || m_bChannel[1]", "GetMemConfig"), Error("bRetCode", "Init")));
    }
}

TEST_F(MemoryController, TheBothChannelsFlagFollowsTheRegistersAtEveryReading) {
    const struct {
        EFamily eFamily;
        Registers Memory;
        bool bBoth, bGanged;
    } kCases[] = {
        {kFirstK8, {{0x90, 0}}, false, false},
        {kFirstK8, {{0x90, 0x00010000}}, true, true},
        {kRevisionF, {{0x90, 0}}, false, false},
        {kRevisionF, {{0x90, 0x800}}, true, true},
        {kFamily10h, {{0x194, 0}}, false, false},
        {kFamily10h, {{0x194, 8}}, true, false},
        {kFamily10h, {{0x94, 0}, {0x194, 8}, {0x110, 0x10}}, false, true},
        {kFamily11h, {{0x94, 8}, {0x194, 8}, {0x110, 0x10}}, true, true},
    };
    for (const auto& [eFamily, Memory, bBoth, bGanged] : kCases) {
        BootAndInit(eFamily, {{0x94, 0x02000008}, {0x194, 8}});
        SetRegisters(Memory);
        MemConfig Config;
        ASSERT_TRUE(Controller().GetMemConfig(&Config));
        EXPECT_EQ(Config.bBothChannels, bBoth) << Family().pszClass;
        EXPECT_EQ(Config.bGanged, bGanged) << Family().pszClass;
        SetRegisters({{0x94, 0}, {0x194, 0}});
        EXPECT_FALSE(Controller().GetMemConfig(&Config));
        EXPECT_FALSE(Config.bBothChannels);
    }
}

// --- traffic ---

TEST_F(MemoryController, AsksTheHardwareInThisOrder) {
    for (const auto& rRow : g_CaseRows("memory_traffic.txt")) {
        ASSERT_EQ(rRow.size(), 6u) << rRow[0];
        const auto& [sCase, sFamily, sRegisters, sChanged, sOperation, sRequests] =
            std::tie(rRow[0], rRow[1], rRow[2], rRow[3], rRow[4], rRow[5]);
        SCOPED_TRACE(sFamily + ", " + sCase + ", " + sOperation);
        const EFamily eFamily = g_Family(sFamily);
        BootAndInit(eFamily, g_Channels(sRegisters));
        if (eFamily != kFirstK8) Additional().m_uReadsUntilDone = 2;
        MemTiming Timing;
        MemConfig Config;
        EXPECT_TRUE(Controller().GetMemTiming(&Timing));
        if (sChanged != "-") {
            SetRegisters(g_Registers(sChanged));
            EXPECT_FALSE(Controller().GetMemConfig(&Config)) << "the last channel is lost";
        }
        TakeRequests();
        std::string sResult;
        if (sOperation == "read timings") {
            std::memset(&Timing, 0xEE, sizeof(Timing));
            EXPECT_TRUE(Controller().GetMemTiming(&Timing));
            std::ostringstream Numbers;
            Numbers << "; = " << Timing.dTcl << ' ' << Timing.dTrc << ' ' << Timing.dTwcl;
            sResult = Numbers.str();
        } else if (sOperation == "read configuration") {
            EXPECT_TRUE(Controller().GetMemConfig(&Config));
        } else {
            if (sOperation == "write Tcl 4 alone") std::memset(static_cast<void*>(&Timing), 0xFF, sizeof(Timing));
            Timing.dTcl = sOperation == "write Tcl 4 alone" ? 4 : 9;
            if (sOperation == "write Tcl and Trcd 9") Timing.dTrcd = 9;
            EXPECT_TRUE(Controller().SetMemTiming(&Timing));
        }
        std::string sTraffic;
        for (const std::string& sRequest : TakeRequests()) sTraffic += (sTraffic.empty() ? "" : "; ") + sRequest;
        EXPECT_EQ(sTraffic + sResult, sRequests);
    }
}

TEST_F(MemoryController, AConfigurationWriteChangesEachChannelFromItsOwnRegisters) {
    // 2T timing, 90h and 84h differ between the channels; the drive strengths of channel B are right already.
    BootAndInit(kFamily10h, {{0x90, 0x00010000},
                             {0x94, 0x3F48090D},
                             {0x84, 0x11110000},
                             {0x190, 0x00020000},
                             {0x194, 0x7F48090D},
                             {0x184, 0x22220000},
                             {0x110, 0xABCD0000}});
    Additional().Register(0, 0) = 0xC0000000, Additional().Register(1, 0) = 0x80111222;
    Additional().m_uReadsUntilDone = 1;
    MemConfig Config;
    ASSERT_TRUE(Controller().GetMemConfig(&Config));
    EXPECT_EQ(Config.dFourBankActWindow, 22) << "channel B's";
    TakeRequests();
    Config.bSlowAccessMode = true, Config.bGanged = true;
    Config.dDramTermination = 40;
    for (double* const pdDrive : {Config.adCkeDrive, Config.adCsOdtDrive, Config.adAddrCmdDrive}) pdDrive[0] = 1.5;
    for (double* const pdDrive : {Config.adClockDrive, Config.adDataDrive, Config.adDqsDrive}) pdDrive[0] = 1.0;
    EXPECT_TRUE(Controller().SetMemConfig(&Config));
    EXPECT_THAT(TakeRequests(),
                ElementsAre(kSwitchRead, kSwitchWrite, "pcird 0:18.2 90 8", "pcird 0:18.2 84 4",
                            "pciwr 0:18.2 90 8 000001000D09587F", "pciwr 0:18.2 84 4 80011111", "pcird 0:18.2 190 8",
                            "pcird 0:18.2 184 4", "pciwr 0:18.2 190 8 000002000D09587F", "pciwr 0:18.2 184 4 80012222",
                            "pciwr 0:18.2 98 4 00000000", "pcird 0:18.2 98 4", "pcird 0:18.2 9C 4", "pcird 0:18.2 9C 4",
                            "pciwr 0:18.2 9C 4 221211C0", "pciwr 0:18.2 98 4 00000040", "pcird 0:18.2 98 4",
                            "pciwr 0:18.2 198 4 00000000", "pcird 0:18.2 198 4", "pcird 0:18.2 19C 4",
                            "pcird 0:18.2 19C 4", "pcird 0:18.2 110 4", "pciwr 0:18.2 110 4 1000CDAB"));
    EXPECT_EQ(Additional().Register(0, 0), 0xC0111222);
    EXPECT_EQ(Additional().Register(1, 0), 0x80111222);
}

TEST_F(MemoryController, NothingIsWrittenWithoutAChannelOrARecord) {
    BootAndInit(kFamily10h, g_Channels("A B"));
    MemConfig Config;
    MemTiming Timing{};
    EXPECT_FALSE(Controller().GetMemTiming(nullptr) || Controller().SetMemTiming(nullptr));
    EXPECT_FALSE(Controller().GetMemConfig(nullptr) || Controller().SetMemConfig(nullptr));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Error("pTiming", "GetMemTiming"), Error("pTiming", "SetMemTiming"),
                                                Error("pConfig", "GetMemConfig"), Error("pConfig", "SetMemConfig")));
    EXPECT_THAT(TakeRequests(), IsEmpty());
    SetRegisters({{0x94, 0}, {0x194, 0}});
    EXPECT_FALSE(Controller().GetMemConfig(&Config));
    m_Log.Take(), TakeRequests();
    EXPECT_TRUE(Controller().SetMemTiming(&Timing) && Controller().SetMemConfig(&Config));
    EXPECT_THAT(TakeRequests(), ElementsAre(kSwitchRead, kSwitchWrite, kSwitchRead, kSwitchWrite));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
}

// --- failures ---

TEST_F(MemoryController, AMissingExtendedConfigurationSwitchIsLoggedOnceAndIgnored) {
    BootAndInit(kFamily10h, g_Channels("A B"));
    Machine().RemoveMsr(0, 0xC001001F);
    MemTiming Timing;
    MemConfig Config;
    const std::function<bool()> Operations[] = {
        [&] { return Controller().GetMemTiming(&Timing); }, [&] { return Controller().SetMemTiming(&Timing); },
        [&] { return Controller().GetMemConfig(&Config); }, [&] { return Controller().SetMemConfig(&Config); }};
    for (const auto& rOperation : Operations) {
        EXPECT_TRUE(rOperation());
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("bRetCode", "CDriverHandler::RDMSR"),
                                                    Error("bRetCode", "EnableCf8ExtCfg")));
    }
    EXPECT_FALSE(m_10h.EnableCf8ExtCfg());
}

// --- additional data ---

TEST_F(MemoryController, AdditionalDataIsReachedThroughThePairOfItsChannel) {
    const struct {
        EFamily eFamily;
        uint32_t uChannel, uPair, uRegister;
        const char *pszIndex, *pszData, *pszRead, *pszWrite;
    } kCases[] = {
        {kFamily10h, 0, 0, 0x3FFFFF15, "98", "9C", "15FFFF3F", "15FFFF7F"},
        {kFamily10h, 1, 1, 0x3FFFFF15, "198", "19C", "15FFFF3F", "15FFFF7F"},
        {kFamily11h, 1, 1, 0x3FFFFF15, "198", "19C", "15FFFF3F", "15FFFF7F"},
        {kRevisionF, 0, 0, 0x3FFFFF15, "98", "9C", "15FFFF3F", "15FFFF7F"},
        {kRevisionF, 1, 0, 0x3FFFFF35, "98", "9C", "35FFFF3F", "35FFFF7F"},  // 20h further on
    };
    for (const auto& [eFamily, uChannel, uPair, uRegister, pszIndex, pszData, pszRead, pszWrite] : kCases) {
        BootAndInit(eFamily, {{0x90, 0x800}, {0x94, 8}, {0x194, 8}});
        SCOPED_TRACE(::testing::Message() << Family().pszClass << " channel " << uChannel);
        Additional().m_uReadsUntilDone = 2;
        Additional().Register(uPair, uRegister) = 0x12345678;
        uint32_t uValue = 0;
        const auto Run = [&](auto& rController) {
            return rController.GetAdditionalData(uChannel, 0xFFFFFF15, uValue) &&
                   rController.SetAdditionalData(uChannel, 0xFFFFFF15, 0x87654321);
        };
        EXPECT_TRUE(eFamily == kFamily10h ? Run(m_10h) : eFamily == kFamily11h ? Run(m_11h) : Run(m_RevisionF));
        EXPECT_EQ(uValue, 0x12345678u);
        EXPECT_EQ(Additional().Register(uPair, uRegister), 0x87654321u);
        const std::string sIndex = std::string("0:18.2 ") + pszIndex + " 4",
                          sData = std::string("0:18.2 ") + pszData + " 4";
        EXPECT_THAT(TakeRequests(),
                    ElementsAre("pciwr " + sIndex + " " + pszRead, "pcird " + sIndex, "pcird " + sIndex,
                                "pcird " + sData, "pcird " + sData, "pciwr " + sData + " 21436587",
                                "pciwr " + sIndex + " " + pszWrite, "pcird " + sIndex, "pcird " + sIndex));
    }
}

TEST_F(MemoryController, AValueThatTheDataRegisterHoldsIsNotWrittenWhateverItIsOf) {
    BootAndInit(kFamily10h, g_Channels("A B"));
    Additional().Register(0, 4) = 0x55;
    uint32_t uValue = 0;
    ASSERT_TRUE(m_10h.GetAdditionalData(0, 4, uValue));
    TakeRequests();
    EXPECT_TRUE(m_10h.SetAdditionalData(0, 5, 0x55));
    EXPECT_THAT(TakeRequests(), ElementsAre("pcird 0:18.2 9C 4"));
    EXPECT_EQ(Additional().Register(0, 5), 0u);
}

TEST_F(MemoryController, AnAccessIsGivenUpAfterAThousandLooks) {
    BootAndInit(kFamily10h, g_Channels("A B"));
    for (const uint32_t uReads : {1000u, 1001u}) {
        const bool bInTime = uReads == 1000;
        Additional().m_uReadsUntilDone = uReads;
        Additional().Register(1, 0) = 0xCAFE;
        TakeRequests();
        uint32_t uValue = 7;
        EXPECT_EQ(m_10h.GetAdditionalData(1, 0, uValue), bInTime);
        EXPECT_EQ(uValue, bInTime ? 0xCAFE : 7u);
        const Lines Trace = TakeRequests();
        EXPECT_EQ(std::ranges::count(Trace, "pcird 0:18.2 198 4"), 1000);
        EXPECT_EQ(Trace.back(), bInTime ? "pcird 0:18.2 19C 4" : "pcird 0:18.2 198 4");
        EXPECT_EQ(m_Log.TakeErrors(), bInTime ? Lines{} : Lines{Error("nCounter < 1000", "GetAdditionalData")});
        EXPECT_EQ(m_10h.SetAdditionalData(1, 0, uReads), bInTime);
        EXPECT_EQ(std::ranges::count(TakeRequests(), "pcird 0:18.2 198 4"), 1000);
        EXPECT_EQ(m_Log.TakeErrors(), bInTime ? Lines{} : Lines{Error("nCounter < 1000", "SetAdditionalData")});
    }
    Additional().m_bNeverDone = true;
    MemConfig Config;
    EXPECT_FALSE(Controller().GetMemConfig(&Config));
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(Error("nCounter < 1000", "GetAdditionalData"), Error("bRetCode", "GetMemConfig")));
    EXPECT_FALSE(Controller().SetMemConfig(&Config));
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(Error("nCounter < 1000", "GetAdditionalData"), Error("bRetCode", "SetMemConfig")));
}

TEST_F(MemoryController, ThereAreTwoChannels) {
    BootAndInit(kFamily10h, g_Channels("A B"));
    uint32_t uValue = 0;
    EXPECT_FALSE(m_10h.GetAdditionalData(2, 0, uValue) || m_10h.SetAdditionalData(2, 0, 1));
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(Error("uChannel < 2", "GetAdditionalData"), Error("uChannel < 2", "SetAdditionalData")));
    EXPECT_THAT(TakeRequests(), IsEmpty());
}

// --- clock ---

TEST_F(MemoryController, TheClockScalesWithTheReference) {
    BootAndInit(kFamily10h, g_Channels("A"));
    EXPECT_DOUBLE_EQ(Controller().GetMemClock(200.0, 1.0), 667.0);
    EXPECT_DOUBLE_EQ(Controller().GetMemClock(250.0, 1.0), 833.75);
    EXPECT_DOUBLE_EQ(Controller().GetMemClock(201.0, 2.0), 667.0 * 2.01);
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    SetRegisters({{0x94, 0x108}});  // a code without a clock
    EXPECT_EQ(Controller().GetMemClock(200.0, 1.0), 0.0);
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Error("bRetCode", "GetMemClock")));
}

// --- oddities that hosts rely on ---

TEST_F(MemoryController, ChangedMemoryIsSeenByTheNextConfigurationReading) {
    BootAndInit(kFamily10h, {{0x94, 0x0A}, {0x88, 4}});
    MemTiming Timing;
    MemConfig Config;
    SetRegisters({{0x94, 0x10C}});
    ASSERT_TRUE(Controller().GetMemTiming(&Timing));
    EXPECT_EQ(Timing.dTcl, 5) << "still DDR2";
    ASSERT_TRUE(Controller().GetMemConfig(&Config) && Controller().GetMemTiming(&Timing));
    EXPECT_EQ(Timing.dTcl, 8);
}

TEST_F(MemoryController, MinusOneFindsTheFirstReservedCode) {
    BootAndInit(kFamily10h, {{0x94, 0x10C}, {0x88, 4}});
    MemTiming Timing;
    ASSERT_TRUE(Controller().GetMemTiming(&Timing));
    Timing.dTcl = -1.0;
    EXPECT_TRUE(Controller().SetMemTiming(&Timing));
    EXPECT_EQ(Register(0x88) & 15, 9u);
}

}  // namespace
