// Register dumps of real machines: what the library makes of them against what another tool printed there.
#include <cmath>
#include <sstream>

#include "devices/memctl/memory_controller_fixture.h"
#include "support/text_cases.h"

namespace {

using vxtapi::MemConfig;
using vxtapi::MemTiming;
using namespace vxttest;

struct CDump {
    std::string sSignature;
    EFamily eFamily;
    double dDataRate;  ///< MT/s that were printed; 0: nothing was
    Registers Memory;
};

std::vector<CDump> g_Dumps() {
    constexpr uint32_t kOffsets[] = {0x88, 0x8C, 0x78, 0x84, 0x90, 0x94};
    std::vector<CDump> Dumps;
    for (const auto& rRow : g_CaseRows("memory_dumps.txt")) {
        Dumps.push_back({rRow.at(0), g_Family(rRow.at(1)), std::stod(rRow.at(2)), {}});
        for (const uint32_t uChannel : {0u, 1u}) {
            std::istringstream Words(rRow.at(3 + uChannel));
            Words >> std::hex;
            for (const uint32_t uOffset : kOffsets) Words >> Dumps.back().Memory[uOffset + 0x100 * uChannel];
        }
    }
    EXPECT_EQ(Dumps.size(), 21u);
    return Dumps;
}

using MemoryDumps = CMemoryTest;

TEST_F(MemoryDumps, ReadAsTheClockThatTheInventoryToolPrinted) {
    for (const CDump& rDump : g_Dumps()) {
        if (rDump.dDataRate == 0) continue;
        SCOPED_TRACE(rDump.sSignature);
        BootAndInit(rDump.eFamily, rDump.Memory);
        MemConfig Config;
        ASSERT_TRUE(Controller().GetMemConfig(&Config));
        // The 00100F62 ran its DDR2-800 modules at 333 MHz: the tool printed what the modules can do.
        const double dClock = rDump.sSignature == "00100F62" ? 333.0 : rDump.dDataRate / 2;
        EXPECT_NEAR(Config.dMemoryClock, dClock, 1.0) << "533 MT/s are 266.67 MHz, written 266";
        EXPECT_EQ(Controller().GetMemClock(200.0, 1.0), Config.dMemoryClock);
    }
}

TEST_F(MemoryDumps, ReadAsTimingsThatModulesHave) {
    // Whatever their owners made of them: latencies of 9 to 30 ns, a row open for 29 to 75 ns, and a row cycle that
    // leaves room for both its parts but for a clock. A field misread gives other numbers.
    for (const CDump& rDump : g_Dumps()) {
        SCOPED_TRACE(rDump.sSignature + " at " + std::to_string(rDump.dDataRate));
        BootAndInit(rDump.eFamily, rDump.Memory);
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
