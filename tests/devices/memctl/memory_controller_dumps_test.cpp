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
        const char *pszRegisters, *pszRead;  ///< Tcl, Trcd, Trp, Tras, Trc; 2T, both channels
    } kCases[] = {
        // Printed: CAS latency 5, 5-5-18, row cycle 23, 2T, dual channel DDR2 at 371.5 MHz (the processor's clock
        // divided; the register asks for 400).
        {"00040F33, register viewer", kRevisionF, "88=0C7CFA24 8C=01221320 90=00010C30 94=7710006B A0=0C0002EF",
         "5 5 5 18 23 1 1"},
        // Nothing printed; the codes looked up by hand in the guide.
        {"first generation, 2.5-3-3-7", kFirstK8, "88=13723335 8C=00000B31 90=38058E80 94=3E7B0707",
         "2.5 3 3 7 10 1 1"},
    };
    for (const auto& [pszSource, eFamily, pszRegisters, pszRead] : kCases) {
        BootAndInit(eFamily, g_Registers(pszRegisters));
        MemTiming Timing;
        MemConfig Config;
        ASSERT_TRUE(Controller().GetMemConfig(&Config) && Controller().GetMemTiming(&Timing));
        EXPECT_EQ(g_Text(Timing.dTcl, Timing.dTrcd, Timing.dTrp, Timing.dTras, Timing.dTrc, Config.bSlowAccessMode,
                         Config.bBothChannels),
                  pszRead)
            << pszSource;
    }
}

TEST_F(MemoryDumps, EachEmbeddedMachineHasOneControllerThatReadsItsMemory) {
    const struct {
        const char* pszMachine;
        EFamily eFamily;
        const char* pszRead;     ///< clock, Tcl, Trcd, Trp, Tras; both channels, data drive of A, ODT of A and B
        const char* pszChanged;  ///< by writing back what was read
    } kMachines[] = {
        {"k8-first", kFirstK8, "200 2.5 3 3 7 1 0 0 0", "8C=00000831"},  // of several codes for 7.8 us the first
        {"k8-revf-dual", kRevisionF, "400 6 6 6 18 1 1 75 75", "-"},
        {"family10h-ddr2", kFamily10h, "266 4 4 4 12 1 1 75 75", "94=3F588009"},  // channel B's 2T timing was read
        {"family10h-ddr3", kFamily10h, "400 6 6 6 15 1 1 120 120", "-"},
        {"family11h-mobile", kFamily11h, "333 5 5 5 18 0 1 75 0", "-"},
    };
    const auto Dwords = [this] {
        Registers Result;
        for (uint32_t uOffset = 0; uOffset < 0x200; uOffset += 4) Result[uOffset] = Register(uOffset);
        return Result;
    };
    for (const auto& [pszMachine, eRight, pszRead, pszChanged] : kMachines) {
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
        EXPECT_EQ(g_Text(Config.dMemoryClock, Timing.dTcl, Timing.dTrcd, Timing.dTrp, Timing.dTras,
                         Config.bBothChannels, Config.adDataDrive[0], Config.adProcOdt[0], Config.adProcOdt[1]),
                  pszRead);
        Registers Expected = g_Registers(pszChanged);
        Expected.merge(Dwords());
        EXPECT_TRUE(Controller().SetMemConfig(&Config));
        EXPECT_TRUE(eRight == kFamily10h || Controller().SetMemTiming(&Timing)) << "there channel B becomes as A";
        EXPECT_EQ(Dwords(), Expected);
    }
}

}  // namespace
