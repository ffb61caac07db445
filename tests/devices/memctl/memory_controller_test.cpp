// The memory controllers' operations: which machine they accept, which registers they touch in which order, and what is
// left behind when the driver dies on the way.
#include "devices/memctl/memory_controller_fixture.h"
#include "hw/dying_driver.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using vxtapi::MemConfig;
using vxtapi::MemTiming;
using namespace vxttest;

// A family 10h board: a channel of DDR3-1333 that is in use has these.
constexpr uint32_t kUsed10h = 0x3F48090D;
// The rest of its registers, with bits around all fields.
const Registers kChannelA = {{0x78, 0xA0000000}, {0x84, 0x5A0000D4}, {0x88, 0xC01655B4}, {0x8C, 0x00020944}};
const Registers kChannelB = {{0x178, 0x0B000006}, {0x184, 0x00240004}, {0x188, 0xEB000092}, {0x18C, 0x01326833}};

const std::string kSwitchRead = "rdmsr 0 C001001F", kSwitchWrite = "wrmsr 0 C001001F 00000000 00404000";

Lines g_Concatenate(std::initializer_list<Lines> Parts) {
    Lines Result;
    for (const Lines& rPart : Parts) Result.insert(Result.end(), rPart.begin(), rPart.end());
    return Result;
}

struct MemoryController : CMemoryTest {
    void BootChannels(bool bA, bool bB, EFamily eFamily = kFamily10h) {
        Registers All = kChannelA;
        All.insert(kChannelB.begin(), kChannelB.end());
        All[0x94] = bA ? kUsed10h : 0, All[0x194] = bB ? kUsed10h : 0;
        BootAndInit(eFamily, All);
    }
    /// Requests since the last call.
    Lines Requests() {
        Lines Trace = TakeTrace();
        std::erase_if(Trace, [](const std::string& sLine) { return sLine[0] >= 'A' && sLine[0] <= 'Z'; });
        return Trace;
    }
};

// --- finding the controller ---

TEST_F(MemoryController, EachClassAcceptsItsProcessorsAndNamesTheCheckThatAnotherFails) {
    const char* const pszBase = "Fn0000_0001_Eax.BaseFamily == 0x0F";
    const char* const pszFamily0 = "Fn0000_0001_Eax.ExtendedFamily == 0";
    const char* const pszFamily1 = "Fn0000_0001_Eax.ExtendedFamily == 1";
    const char* const pszFamily2 = "Fn0000_0001_Eax.ExtendedFamily == 2";
    const char* const pszFirst =
        "Fn0000_0001_Eax.ExtendedModel == 0 || Fn0000_0001_Eax.ExtendedModel == 1 || Fn0000_0001_Eax.ExtendedModel == "
        "2";
    const char* const pszLater =
        "Fn0000_0001_Eax.ExtendedModel != 0 && Fn0000_0001_Eax.ExtendedModel != 1 && Fn0000_0001_Eax.ExtendedModel != "
        "2";
    const struct {
        uint32_t uSignature;
        const char* apszFailed[4];  ///< by class; null: accepted
    } kCases[] = {
        {0x00000F4A, {nullptr, pszLater, pszFamily1, pszFamily2}},
        {0x00010FF0, {nullptr, pszLater, pszFamily1, pszFamily2}},
        {0x00020FB1, {nullptr, pszLater, pszFamily1, pszFamily2}},
        {0x00030FF2, {pszFirst, nullptr, pszFamily1, pszFamily2}},
        {0x00060FB2, {pszFirst, nullptr, pszFamily1, pszFamily2}},
        {0x000F0FB2, {pszFirst, nullptr, pszFamily1, pszFamily2}},
        {0x00100F22, {pszFamily0, pszFamily0, nullptr, pszFamily2}},
        {0x00200F31, {pszFamily0, pszFamily0, pszFamily1, nullptr}},
        {0x00600F12, {pszFamily0, pszFamily0, pszFamily1, pszFamily2}},
        {0x00100E42, {pszBase, pszBase, pszBase, pszBase}},
    };
    for (const auto& [uSignature, apszFailed] : kCases) {
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
            const char* const pszFailed = apszFailed[eFamily];
            EXPECT_EQ(m_Log.TakeErrors(), pszFailed
                                              ? (Lines{Error(pszFailed, "_CheckCpuid"), Error("bRetCode", "Init")})
                                              : Lines{Error("bRetCode", "Init")});
        }
    }
}

TEST_F(MemoryController, TellsWhatItIs) {
    const struct {
        EFamily eFamily;
        Registers Memory;
        uint32_t uMemoryType;
        const wchar_t* pszName;
        uint32_t uVersion;
    } kCases[] = {
        {kFirstK8, {{0x94, 0x02000000}}, 7, L"Internal DDR Memory Controller", 20070322},
        {kRevisionF, {{0x94, 8}}, 8, L"Internal DDR2 Memory Controller", 20070403},
        {kFamily10h, {{0x94, 8}}, 8, L"Internal DDR2 DDR3 Memory Controller", 20070518},
        {kFamily10h, {{0x94, 0x10C}}, 11, L"Internal DDR2 DDR3 Memory Controller", 20070518},
        {kFamily10h, {{0x94, 0x00C}}, 8, L"Internal DDR2 DDR3 Memory Controller", 20070518},
        {kFamily11h, {{0x94, 0x108}}, 8, L"QOR Family 11h Processor Internal Memory Controller", 20071108},
    };
    for (const auto& [eFamily, Memory, uMemoryType, pszName, uVersion] : kCases) {
        BootAndInit(eFamily, Memory);
        SCOPED_TRACE(Family().pszClass);
        EXPECT_EQ(Controller().GetMemoryType(), uMemoryType);
        EXPECT_EQ(Controller().GetPciVendor(), 0x1022u);
        EXPECT_EQ(Controller().GetPciDevice(), Family().usPciDevice);
        EXPECT_EQ(Controller().GetType(), vxtapi::kDeviceMemoryController);
        EXPECT_STREQ(Controller().GetTypeName(), L"Memory Controller");
        EXPECT_STREQ(Controller().GetModel(), pszName);
        EXPECT_STREQ(Controller().GetName(), pszName);
        EXPECT_EQ(Controller().GetVersion(), uVersion);
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

TEST_F(MemoryController, ATimingReadTakesChannelAOrElseChannelB) {
    const struct {
        bool bA, bB;
        Lines Reads;
        double dTcl, dTrc;
    } kCases[] = {
        {true, true, {"pcird 0:18.2 88 8", "pcird 0:18.2 78 4", "pcird 0:18.2 84 4"}, 8, 33},
        {true, false, {"pcird 0:18.2 88 8", "pcird 0:18.2 78 4", "pcird 0:18.2 84 4"}, 8, 33},
        {false, true, {"pcird 0:18.2 188 8", "pcird 0:18.2 178 4", "pcird 0:18.2 184 4"}, 6, 11},
        {false, false, {}, 0, 0},
    };
    for (const auto& [bA, bB, Reads, dTcl, dTrc] : kCases) {
        SCOPED_TRACE(::testing::Message() << bA << bB);
        BootChannels(bA || !bB, bB);  // a controller without any channel starts with one and loses it
        SetRegisters({{0x94, bA ? kUsed10h : 0}});
        MemConfig Config;
        EXPECT_EQ(Controller().GetMemConfig(&Config), bA || bB);
        Requests();
        MemTiming Timing;
        std::memset(&Timing, 0xEE, sizeof(Timing));
        EXPECT_TRUE(Controller().GetMemTiming(&Timing));
        EXPECT_EQ(Requests(), g_Concatenate({{kSwitchRead, kSwitchWrite}, Reads}));
        EXPECT_EQ(Timing.dTcl, dTcl);
        EXPECT_EQ(Timing.dTrc, dTrc);
        EXPECT_EQ(Timing.dTwcl, 0.0);
    }
}

TEST_F(MemoryController, ATimingWriteMakesChannelBAsChannelA) {
    // 88h with Tcl 9, Trcd 9 (bits 6:4), the other fields as channel A has them.
    const std::string sWords = "C55516C044090200", s78 = "000000A0", s84 = "D400005A";
    const Lines ReadA = {"pcird 0:18.2 88 8", "pcird 0:18.2 78 4", "pcird 0:18.2 84 4"};
    const struct {
        bool bA, bB;
        Lines Traffic;
    } kCases[] = {
        {true, true,
         g_Concatenate({ReadA,
                        {"pciwr 0:18.2 88 8 " + sWords, "pciwr 0:18.2 78 4 " + s78, "pciwr 0:18.2 84 4 " + s84,
                         "pciwr 0:18.2 188 8 " + sWords, "pciwr 0:18.2 178 4 " + s78, "pciwr 0:18.2 184 4 " + s84}})},
        {true, false,
         g_Concatenate(
             {ReadA, {"pciwr 0:18.2 88 8 " + sWords, "pciwr 0:18.2 78 4 " + s78, "pciwr 0:18.2 84 4 " + s84}})},
        {false,
         true,
         {"pcird 0:18.2 188 8", "pcird 0:18.2 178 4", "pcird 0:18.2 184 4", "pciwr 0:18.2 188 8 C50000EB33683201",
          "pciwr 0:18.2 178 4 0600000B", "pciwr 0:18.2 184 4 04002400"}},
        {false, false, {}},
    };
    for (const auto& [bA, bB, Traffic] : kCases) {
        SCOPED_TRACE(::testing::Message() << bA << bB);
        BootChannels(bA || !bB, bB);
        MemTiming Timing;
        EXPECT_TRUE(Controller().GetMemTiming(&Timing));
        Timing.dTcl = 9, Timing.dTrcd = 9;
        SetRegisters({{0x94, bA ? kUsed10h : 0}});
        MemConfig Config;
        EXPECT_EQ(Controller().GetMemConfig(&Config), bA || bB);
        Requests();
        EXPECT_TRUE(Controller().SetMemTiming(&Timing));
        EXPECT_EQ(Requests(), g_Concatenate({{kSwitchRead, kSwitchWrite}, Traffic}));
    }
}

TEST_F(MemoryController, Family11hReadsAndWritesOneChannelAndTheK8ItsOneSet) {
    const struct {
        const char* pszCase;
        EFamily eFamily;
        Registers Memory;
        Lines Read, Write;
    } kCases[] = {
        {"family 11h, both channels",
         kFamily11h,
         {{0x94, 8}, {0x194, 8}, {0x88, 0x1}, {0x78, 0x12345678}},
         {kSwitchRead, kSwitchWrite, "pcird 0:18.2 88 8", "pcird 0:18.2 78 4"},
         {"pciwr 0:18.2 88 8 0300000000000000", "pciwr 0:18.2 78 4 78563412"}},
        {"family 11h, channel B",
         kFamily11h,
         {{0x194, 8}, {0x188, 0xC0000001}},
         {kSwitchRead, kSwitchWrite, "pcird 0:18.2 188 8", "pcird 0:18.2 178 4"},
         {"pciwr 0:18.2 188 8 030000C000000000", "pciwr 0:18.2 178 4 00000000"}},
        {"revision F, both channels",
         kRevisionF,
         {{0x94, 8}, {0x90, 0x800}},
         {"pcird 0:18.2 88 8"},
         {"pciwr 0:18.2 88 8 0300000000000000"}},
        {"first generation",
         kFirstK8,
         {{0x94, 0x02000000}, {0x90, 0x00010000}},
         {"pcird 0:18.2 88 8"},
         {"pciwr 0:18.2 88 8 0300000000000000"}},
    };
    for (const auto& [pszCase, eFamily, Memory, Read, Write] : kCases) {
        SCOPED_TRACE(pszCase);
        BootAndInit(eFamily, Memory);
        MemTiming Timing;
        EXPECT_TRUE(Controller().GetMemTiming(&Timing));
        EXPECT_EQ(Requests(), Read);
        std::fill_n(reinterpret_cast<unsigned char*>(&Timing), sizeof(Timing), 0xFF);  // no number at all
        Timing.dTcl = 4;
        EXPECT_TRUE(Controller().SetMemTiming(&Timing));
        EXPECT_EQ(Requests(), g_Concatenate({Read, Write}));
    }
}

TEST_F(MemoryController, AConfigurationReadAsksBothChannelsThenTheirAdditionalDataThenTheSelectRegister) {
    const auto AdditionalRead = [](const char* pszIndex, const char* pszData, const char* pszCommand) {
        const std::string sFunction = "0:18.2 ";
        return Lines{"pciwr " + sFunction + pszIndex + " 4 " + pszCommand, "pcird " + sFunction + pszIndex + " 4",
                     "pcird " + sFunction + pszIndex + " 4", "pcird " + sFunction + pszData + " 4"};
    };
    const Lines A00 = AdditionalRead("98", "9C", "00000000"), B00 = AdditionalRead("198", "19C", "00000000");
    const Lines Dct = {kSwitchRead, kSwitchWrite, "pcird 0:18.2 90 8", "pcird 0:18.2 190 8"};
    Lines RevisionF = {"pcird 0:18.2 90 8", "pcird 0:18.2 A0 4"};
    for (const char* const pszIndex : {"00", "10", "13", "16", "19", "20", "30", "33", "36", "39"})
        RevisionF = g_Concatenate({RevisionF, AdditionalRead("98", "9C", (std::string(pszIndex) + "000000").c_str())});
    const struct {
        const char* pszCase;
        EFamily eFamily;
        Registers Memory;
        Lines Traffic;
    } kCases[] = {
        {"family 10h, both",
         kFamily10h,
         {{0x94, 8}, {0x194, 8}},
         g_Concatenate({Dct, {"pcird 0:18.2 84 4", "pcird 0:18.2 184 4"}, A00, B00, {"pcird 0:18.2 110 4"}})},
        {"family 10h, B",
         kFamily10h,
         {{0x194, 8}},
         g_Concatenate({Dct, {"pcird 0:18.2 184 4"}, B00, {"pcird 0:18.2 110 4"}})},
        {"family 11h, both",
         kFamily11h,
         {{0x94, 8}, {0x194, 8}},
         g_Concatenate({Dct, {"pcird 0:18.2 78 4", "pcird 0:18.2 178 4"}, A00, B00, {"pcird 0:18.2 110 4"}})},
        {"family 11h, A",
         kFamily11h,
         {{0x94, 8}},
         g_Concatenate({Dct, {"pcird 0:18.2 78 4"}, A00, {"pcird 0:18.2 110 4"}})},
        {"revision F, both", kRevisionF, {{0x90, 0x800}, {0x94, 8}}, RevisionF},
        {"revision F, one", kRevisionF, {{0x94, 8}}, Lines(RevisionF.begin(), RevisionF.begin() + 2 + 5 * 4)},
        {"first generation", kFirstK8, {{0x94, 0x02000000}}, {"pcird 0:18.2 90 8"}},
    };
    for (const auto& [pszCase, eFamily, Memory, Traffic] : kCases) {
        SCOPED_TRACE(pszCase);
        BootAndInit(eFamily, Memory);
        if (eFamily != kFirstK8) Additional().m_uReadsUntilDone = 2;
        MemConfig Config;
        EXPECT_TRUE(Controller().GetMemConfig(&Config));
        EXPECT_EQ(Requests(), Traffic);
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
    Requests();
    Config.bSlowAccessMode = true, Config.bGanged = true;
    Config.dDramTermination = 40;
    for (double* const pdDrive : {Config.adCkeDrive, Config.adCsOdtDrive, Config.adAddrCmdDrive}) pdDrive[0] = 1.5;
    for (double* const pdDrive : {Config.adClockDrive, Config.adDataDrive, Config.adDqsDrive}) pdDrive[0] = 1.0;
    EXPECT_TRUE(Controller().SetMemConfig(&Config));
    EXPECT_THAT(Requests(),
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
    BootChannels(true, true);
    MemConfig Config;
    MemTiming Timing{};
    EXPECT_FALSE(Controller().GetMemTiming(nullptr) || Controller().SetMemTiming(nullptr));
    EXPECT_FALSE(Controller().GetMemConfig(nullptr) || Controller().SetMemConfig(nullptr));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Error("pTiming", "GetMemTiming"), Error("pTiming", "SetMemTiming"),
                                                Error("pConfig", "GetMemConfig"), Error("pConfig", "SetMemConfig")));
    EXPECT_THAT(Requests(), IsEmpty());
    SetRegisters({{0x94, 0}, {0x194, 0}});
    EXPECT_FALSE(Controller().GetMemConfig(&Config));
    m_Log.Take(), Requests();
    EXPECT_TRUE(Controller().SetMemTiming(&Timing) && Controller().SetMemConfig(&Config));
    EXPECT_THAT(Requests(), ElementsAre(kSwitchRead, kSwitchWrite, kSwitchRead, kSwitchWrite));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
}

// --- failures ---

TEST_F(MemoryController, AMissingExtendedConfigurationSwitchIsLoggedOnceAndIgnored) {
    BootChannels(true, true);
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

TEST_F(MemoryController, WhatWasWrittenBeforeAFailureStaysWritten) {
    BootChannels(true, true);
    MemTiming Timing;
    ASSERT_TRUE(Controller().GetMemTiming(&Timing));
    Timing.dTcl = 9;     // 88h
    Timing.dTwr = 12;    // 84h
    Timing.dTrdrd = 10;  // 8Ch and 78h
    const Registers kWritten = {{0x78, 0xA0002000}, {0x84, 0x5A0000E4}, {0x88, 0xC01655B5}, {0x8C, 0x00020944}};
    const uint32_t auOrder[] = {0x88, 0x78, 0x84};
    constexpr uint64_t kBefore = 5;  // the switch and the reads
    const uint64_t ullRequests = g_WithDyingDriver(
        *this,
        [&] {
            SetRegisters(kChannelA), SetRegisters(kChannelB);
            return Controller().SetMemTiming(&Timing);
        },
        [&](uint64_t ullGood) {
            EXPECT_EQ(m_Log.TakeErrors().back(), Error("bRetCode", "SetMemTiming"));
            Registers Expected = kChannelA;
            Expected.insert(kChannelB.begin(), kChannelB.end());
            for (uint64_t i = 0; i + kBefore < ullGood; ++i) {
                const uint32_t uFrom = auOrder[i % 3], uTo = uFrom + (i < 3 ? 0 : 0x100);
                Expected[uTo] = kWritten.at(uFrom);
                if (uFrom == 0x88) Expected[uTo + 4] = kWritten.at(0x8C);
            }
            for (const auto& [uOffset, uValue] : Expected) EXPECT_EQ(Register(uOffset), uValue) << std::hex << uOffset;
        });
    EXPECT_EQ(ullRequests, kBefore + 6);
}

TEST_F(MemoryController, EveryOperationNamesItselfWhenTheDriverDies) {
    const struct {
        EFamily eFamily;
        uint32_t u90, u94;
        uint64_t aullRequests[5];  ///< of a good run: both ways for timings and configuration, the clock
    } kCases[] = {
        {kFirstK8, 0x00010000, 0x02700000, {1, 2, 1, 2, 1}},
        {kRevisionF, 0x800, 0x8, {1, 2, 2 + 10 * 3, 4 + 10 * 4, 2 + 10 * 3}},
        {kFamily10h, 0, 0x10D, {5, 11, 6 + 2 * 3 + 1, 10 + 2 * 4 + 2, 6 + 2 * 3 + 1}},
        {kFamily11h, 0, 0x8, {4, 6, 6 + 2 * 3 + 1, 10 + 2 * 4 + 2, 6 + 2 * 3 + 1}},
    };
    for (const auto& [eFamily, u90, u94, aullRequests] : kCases) {
        BootAndInit(eFamily, {{0x90, u90}, {0x94, u94}, {0x190, u90}, {0x194, u94}});
        if (eFamily != kFirstK8) Additional().m_uReadsUntilDone = 1;
        MemTiming Timing;
        MemConfig Config;
        ASSERT_TRUE(Controller().GetMemTiming(&Timing) && Controller().GetMemConfig(&Config));
        const struct {
            const char* pszName;
            std::function<bool()> Run;
        } Operations[] = {
            {"GetMemTiming", [&] { return Controller().GetMemTiming(&Timing); }},
            {"SetMemTiming", [&] { return Controller().SetMemTiming(&Timing); }},
            {"GetMemConfig", [&] { return Controller().GetMemConfig(&Config); }},
            {"SetMemConfig", [&] { return Controller().SetMemConfig(&Config); }},
            {"GetMemClock", [&] { return Controller().GetMemClock(200.0, 1.0) != 0.0; }},
        };
        for (size_t i = 0; i < std::size(Operations); ++i) {
            SCOPED_TRACE(std::string(Family().pszClass) + " " + Operations[i].pszName);
            EXPECT_EQ(g_WithDyingDriver(*this, Operations[i].Run,
                                        [&](uint64_t) {
                                            EXPECT_EQ(m_Log.TakeErrors().back(),
                                                      Error("bRetCode", Operations[i].pszName));
                                            // What a failed reading left of the record must not reach the hardware.
                                            ASSERT_TRUE(Controller().GetMemTiming(&Timing));
                                            ASSERT_TRUE(Controller().GetMemConfig(&Config));
                                        }),
                      aullRequests[i]);
        }
    }
}

TEST_F(MemoryController, OneFailedRequestStopsNothing) {
    // The switch is best effort, and configuration space has a second way.
    BootChannels(true, true);
    MemTiming Timing;
    MemConfig Config;
    FailEach(
        [&] {
            return Controller().GetMemConfig(&Config) && Controller().GetMemTiming(&Timing) &&
                   Controller().SetMemTiming(&Timing) && Controller().SetMemConfig(&Config);
        },
        [](bool bResult) { EXPECT_TRUE(bResult); });
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
        EXPECT_THAT(Requests(), ElementsAre("pciwr " + sIndex + " " + pszRead, "pcird " + sIndex, "pcird " + sIndex,
                                            "pcird " + sData, "pcird " + sData, "pciwr " + sData + " 21436587",
                                            "pciwr " + sIndex + " " + pszWrite, "pcird " + sIndex, "pcird " + sIndex));
    }
}

TEST_F(MemoryController, AValueThatTheDataRegisterHoldsIsNotWrittenWhateverItIsOf) {
    BootChannels(true, true);
    Additional().Register(0, 4) = 0x55;
    uint32_t uValue = 0;
    ASSERT_TRUE(m_10h.GetAdditionalData(0, 4, uValue));
    Requests();
    EXPECT_TRUE(m_10h.SetAdditionalData(0, 5, 0x55));
    EXPECT_THAT(Requests(), ElementsAre("pcird 0:18.2 9C 4"));
    EXPECT_EQ(Additional().Register(0, 5), 0u);
}

TEST_F(MemoryController, AnAccessIsGivenUpAfterAThousandLooks) {
    BootChannels(true, true);
    for (const uint32_t uReads : {1000u, 1001u}) {
        const bool bInTime = uReads == 1000;
        Additional().m_uReadsUntilDone = uReads;
        Additional().Register(1, 0) = 0xCAFE;
        Requests();
        uint32_t uValue = 7;
        EXPECT_EQ(m_10h.GetAdditionalData(1, 0, uValue), bInTime);
        EXPECT_EQ(uValue, bInTime ? 0xCAFE : 7u);
        const Lines Trace = Requests();
        EXPECT_EQ(std::ranges::count(Trace, "pcird 0:18.2 198 4"), 1000);
        EXPECT_EQ(Trace.back(), bInTime ? "pcird 0:18.2 19C 4" : "pcird 0:18.2 198 4");
        EXPECT_EQ(m_Log.TakeErrors(), bInTime ? Lines{} : Lines{Error("nCounter < 1000", "GetAdditionalData")});
        EXPECT_EQ(m_10h.SetAdditionalData(1, 0, uReads), bInTime);
        EXPECT_EQ(std::ranges::count(Requests(), "pcird 0:18.2 198 4"), 1000);
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
    BootChannels(true, true);
    uint32_t uValue = 0;
    EXPECT_FALSE(m_10h.GetAdditionalData(2, 0, uValue) || m_10h.SetAdditionalData(2, 0, 1));
    EXPECT_THAT(m_Log.TakeErrors(),
                ElementsAre(Error("uChannel < 2", "GetAdditionalData"), Error("uChannel < 2", "SetAdditionalData")));
    EXPECT_THAT(Requests(), IsEmpty());
}

// --- clock ---

TEST_F(MemoryController, TheClockScalesWithTheReference) {
    BootChannels(true, false);
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
