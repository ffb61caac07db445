// Register dumps of real machines: what the library makes of them against what another tool printed there.
#include <cmath>

#include "devices/memctl/memory_controller_fixture.h"

namespace {

using vxtapi::MemConfig;
using vxtapi::MemTiming;
using namespace vxttest;

// Dumps that owners published. Source of the rows with a data rate: the firmware's own save area with the DRAM
// registers, and beside it the module speed in MT/s that an inventory tool printed. The others: register viewers on K8
// boards, of which one printed timings, tested apart. Registers 88h, 8Ch, 78h, 84h, 90h, 94h of channel A, then of B.
struct CDump {
    const char* pszSignature;
    EFamily eFamily;
    double dDataRate;  ///< 0: nothing was printed
    uint32_t auChannelA[6];
    uint32_t auChannelB[6] = {};
};
// clang-format off
const CDump kDumps[] = {
    {"00100F53", kFamily10h, 1333,
     {0xEB1655B4, 0x00427944, 0x0CC80006, 0x002400D4, 0x00010000, 0x3F48090D},
     {0xEB1655B4, 0x00427944, 0x0D080006, 0x002400D4, 0x00010000, 0x3F48090D}},
    {"00100F62", kFamily10h, 800,
     {0x5D7DFA24, 0x00220334, 0x0F080006, 0x00000000, 0x00010410, 0x6F48000A}},
    {"00100F23", kFamily10h, 0,
     {0x0C6ACA24, 0x01226334, 0x0DC00005, 0x00000000, 0x00010830, 0x7F58000B}},
    {"00100FA0", kFamily10h, 1600,
     {0xE79EFB67, 0x01B2BA77, 0x0E080206, 0x003406E4, 0x00010000, 0x8F50090E},
     {0xEF5CDB67, 0x0042BA77, 0x0D080206, 0x003400E4, 0x00010000, 0x5F40090E}},
    {"00100F63", kFamily10h, 1066,
     {0xEB1051B4, 0x00326855, 0x0F480006, 0x001400C4, 0x00010000, 0x3F48090C},
     {0xEB1051B4, 0x00326855, 0x0F480006, 0x001400C4, 0x00010000, 0x3F48090C}},
    {"00100F42", kFamily10h, 800,
     {0xE7090092, 0x01C26833, 0x11080006, 0x000409A4, 0x00010000, 0x1F48090B},
     {0xE7090092, 0x01326833, 0x11080006, 0x000409A4, 0x00010000, 0x1F48090B}},
    {"00100F22", kFamily10h, 533,
     {0xAE169113, 0x01020234, 0x12000005, 0x00000000, 0x00010410, 0x3F488009},
     {0x0C169113, 0x01120234, 0x11400005, 0x00000000, 0x00010410, 0x3F588009}},
    {"00100F53", kFamily10h, 1066,
     {0x0C149924, 0x01226045, 0x0BC80006, 0x00000040, 0x00010010, 0x3F58800C},
     {0x0C149924, 0x01226045, 0x0C480006, 0x00000040, 0x00010010, 0x3F58800C}},
    {"00100F63", kFamily10h, 1066,
     {0xFF000000, 0x000218FF, 0x22800000, 0x00000010, 0x00010000, 0x00004800},
     {0xEB105123, 0x00226844, 0x0E880006, 0x001400C4, 0x00010000, 0x1F48090C}},
    {"00100F52", kFamily10h, 1333,
     {0xF71375B5, 0x0202A955, 0x0D890006, 0x002400D4, 0x00010000, 0x2F48890D},
     {0xC7169645, 0x0242B966, 0x0E090006, 0x00240AD4, 0x00010000, 0x3F58890D}},
    {"00100F42", kFamily10h, 667,
     {0x5D68BA24, 0x00320334, 0x10880006, 0x00000000, 0x00010010, 0xAF58000A},
     {0x0C69CA24, 0x01A20334, 0x10880006, 0x00000000, 0x00010010, 0xAF58000A}},
    {"00100F63", kFamily10h, 800,
     {0x5D7EFB34, 0x00220334, 0x0CC00005, 0x00000000, 0x00010410, 0x7F58000B},
     {0x5D7EFB34, 0x00320334, 0x0C400005, 0x00000000, 0x00010410, 0xBF58000B}},
    {"00100F43", kFamily10h, 1600,
     {0xD7169645, 0x9D12B955, 0x0C080006, 0x003400D4, 0x00010000, 0x5F58090E},
     {0xD7169645, 0x9D12B955, 0x0C480006, 0x003400D4, 0x00010000, 0x5F58090E}},
    {"00100F63", kFamily10h, 1066,
     {0xEF105124, 0x00227855, 0x0F080006, 0x001400C4, 0x00010000, 0x1F48090C},
     {0xEF0F41B4, 0x00426855, 0x0F080006, 0x001400C4, 0x00010000, 0x1F48090C}},
    {"00060FB2", kRevisionF, 533,
     {0x5D169113, 0x44121220, 0x00000046, 0x00000000, 0x00010410, 0x37108079}},
    {"00060FB1", kRevisionF, 800,
     {0x0C7DFB35, 0x01221320, 0x00000046, 0x00000000, 0x00010C30, 0x7750006B}},
    {"00040F33", kRevisionF, 800,
     {0x5D7BFA24, 0x00221320, 0x00000046, 0x00000000, 0x00010C10, 0x7750006B}},
    {"00060FB2", kRevisionF, 0,
     {0x5D69CA24, 0x00221320, 0x00000046, 0x00000000, 0x00010C10, 0x7710006B}},
    {"00040F33", kRevisionF, 0,
     {0x0C7CFA24, 0x01221320, 0x00000046, 0x00000000, 0x00010C30, 0x7710006B}},
    {"unnamed", kFirstK8, 0,
     {0x13723335, 0x00000B31, 0x00000000, 0x00000000, 0x38058E80, 0x3E7B0707}},
    {"unnamed", kFirstK8, 0,
     {0x16F46FF2, 0x00000B31, 0x00000000, 0x00000000, 0x580C8C00, 0x3E7B0606}},
};
// clang-format on

struct MemoryDumps : CMemoryTest {
    void BootDump(const CDump& rDump) {
        constexpr uint32_t kOffsets[6] = {0x88, 0x8C, 0x78, 0x84, 0x90, 0x94};
        Registers Memory;
        for (size_t i = 0; i < 6; ++i)
            Memory[kOffsets[i]] = rDump.auChannelA[i], Memory[kOffsets[i] + 0x100] = rDump.auChannelB[i];
        BootAndInit(rDump.eFamily, Memory);
    }
};

TEST_F(MemoryDumps, ReadAsTheClockThatTheInventoryToolPrinted) {
    for (const CDump& rDump : kDumps) {
        if (rDump.dDataRate == 0) continue;
        SCOPED_TRACE(rDump.pszSignature);
        BootDump(rDump);
        MemConfig Config;
        ASSERT_TRUE(Controller().GetMemConfig(&Config));
        // The 00100F62 ran its DDR2-800 modules at 333 MHz: the tool printed what the modules can do.
        const double dClock = std::string(rDump.pszSignature) == "00100F62" ? 333.0 : rDump.dDataRate / 2;
        EXPECT_NEAR(Config.dMemoryClock, dClock, 1.0) << "533 MT/s are 266.67 MHz, written 266";
        EXPECT_EQ(Controller().GetMemClock(200.0, 1.0), Config.dMemoryClock);
    }
}

TEST_F(MemoryDumps, ReadAsTimingsThatModulesHave) {
    // Whatever their owners made of them: latencies of 9 to 30 ns, a row open for 29 to 75 ns, and a row cycle that
    // leaves room for both its parts but for a clock. A field misread gives other numbers.
    for (const CDump& rDump : kDumps) {
        SCOPED_TRACE(std::string(rDump.pszSignature) + " at " + std::to_string(rDump.dDataRate));
        BootDump(rDump);
        MemConfig Config;
        MemTiming Timing;
        ASSERT_TRUE(Controller().GetMemConfig(&Config) && Controller().GetMemTiming(&Timing));
        const double dPeriod = 1000 / Config.dMemoryClock;  // ns
        for (const double dLatency : {Timing.dTcl, Timing.dTrcd, Timing.dTrp}) {
            EXPECT_GE(dLatency * dPeriod, 9.0);
            EXPECT_LE(dLatency * dPeriod, 30.0);
        }
        EXPECT_GE(Timing.dTras * dPeriod, 29.0);
        EXPECT_LE(Timing.dTras * dPeriod, 75.0);
        EXPECT_GE(Timing.dTrc, Timing.dTras + Timing.dTrp - 1);
        EXPECT_EQ(Timing.dTref, 7.8);
    }
}

TEST_F(MemoryDumps, ReadAsTheTimingsThatTheRegisterViewerPrinted) {
    const struct {
        const char* pszSource;
        EFamily eFamily;
        Registers Memory;
        double dTcl, dTrcd, dTrp, dTras, dTrc;
        bool bTwoT, bDual;
    } kCases[] = {
        // Printed: CAS latency 5, 5-5-18, row cycle 23, 2T, dual channel DDR2 at 371.5 MHz (the processor's clock
        // divided; the register asks for 400).
        {"00040F33, register viewer",
         kRevisionF,
         {{0x88, 0x0C7CFA24}, {0x8C, 0x01221320}, {0x90, 0x00010C30}, {0x94, 0x7710006B}, {0xA0, 0x0C0002EF}},
         5,
         5,
         5,
         18,
         23,
         true,
         true},
        // Nothing printed; the codes looked up by hand in the guide.
        {"first generation, 2.5-3-3-7",
         kFirstK8,
         {{0x88, 0x13723335}, {0x8C, 0x00000B31}, {0x90, 0x38058E80}, {0x94, 0x3E7B0707}},
         2.5,
         3,
         3,
         7,
         10,
         true,
         true},
    };
    for (const auto& [pszSource, eFamily, Memory, dTcl, dTrcd, dTrp, dTras, dTrc, bTwoT, bDual] : kCases) {
        SCOPED_TRACE(pszSource);
        BootAndInit(eFamily, Memory);
        MemTiming Timing;
        MemConfig Config;
        ASSERT_TRUE(Controller().GetMemConfig(&Config) && Controller().GetMemTiming(&Timing));
        EXPECT_EQ(Timing.dTcl, dTcl);
        EXPECT_EQ(Timing.dTrcd, dTrcd);
        EXPECT_EQ(Timing.dTrp, dTrp);
        EXPECT_EQ(Timing.dTras, dTras);
        EXPECT_EQ(Timing.dTrc, dTrc);
        EXPECT_EQ(Config.bSlowAccessMode, bTwoT);
        EXPECT_EQ(Config.bBothChannels, bDual);
    }
}

TEST_F(MemoryDumps, EachEmbeddedMachineHasOneControllerThatReadsItsMemory) {
    const struct {
        const char* pszMachine;
        EFamily eFamily;
        double dClock, dTcl, dTrcd, dTrp, dTras;
        bool bBoth;
        double dDataDriveA, dProcOdtA;
        Registers Changed;  ///< by writing back what was read
    } kMachines[] = {
        {"k8-first",
         kFirstK8,
         200,
         2.5,
         3,
         3,
         7,
         true,
         0,
         0,
         {{0x8C, 0x00000831}}},  // several codes mean 7.8 us: the first is taken
        {"k8-revf-dual", kRevisionF, 400, 6, 6, 6, 18, true, 1.0, 75, {}},
        {"family10h-ddr2",
         kFamily10h,
         266,
         4,
         4,
         4,
         12,
         true,
         1.0,
         75,
         {{0x94, 0x3F588009}}},  // channel B's 2T timing was read
        {"family10h-ddr3", kFamily10h, 400, 6, 6, 6, 15, true, 1.0, 120, {}},
        {"family11h-mobile", kFamily11h, 333, 5, 5, 5, 18, false, 1.0, 75, {}},
    };
    for (const auto& [pszMachine, eRight, dClock, dTcl, dTrcd, dTrp, dTras, bBoth, dDataDriveA, dProcOdtA, Changed] :
         kMachines) {
        SCOPED_TRACE(pszMachine);
        Start(pszMachine);
        ASSERT_TRUE(StartDriver());
        for (const EFamily eFamily : {kFirstK8, kRevisionF, kFamily10h, kFamily11h}) {
            m_eFamily = eFamily;
            EXPECT_EQ(Controller().Init(0), eFamily == eRight) << Family().pszClass;
        }
        m_eFamily = eRight;
        MemTiming Timing;
        MemConfig Config;
        ASSERT_TRUE(Controller().GetMemConfig(&Config) && Controller().GetMemTiming(&Timing));
        EXPECT_EQ(Config.dMemoryClock, dClock);
        EXPECT_EQ(Timing.dTcl, dTcl);
        EXPECT_EQ(Timing.dTrcd, dTrcd);
        EXPECT_EQ(Timing.dTrp, dTrp);
        EXPECT_EQ(Timing.dTras, dTras);
        EXPECT_EQ(Config.bBothChannels, bBoth);
        EXPECT_EQ(Config.adDataDrive[0], dDataDriveA);
        EXPECT_EQ(Config.adProcOdt[0], dProcOdtA);
        EXPECT_EQ(Config.adProcOdt[1], bBoth ? dProcOdtA : 0.0);
        const auto Dwords = [this] {
            Registers Result;
            for (uint32_t uOffset = 0; uOffset < 0x200; uOffset += 4) Result[uOffset] = Register(uOffset);
            return Result;
        };
        Registers Expected = Dwords();
        EXPECT_TRUE(Controller().SetMemConfig(&Config));
        EXPECT_TRUE(eRight == kFamily10h || Controller().SetMemTiming(&Timing)) << "there channel B becomes as A";
        for (const auto& [uOffset, uValue] : Changed) Expected[uOffset] = uValue;
        EXPECT_EQ(Dwords(), Expected);
    }
}

}  // namespace
