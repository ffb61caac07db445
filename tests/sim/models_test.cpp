// What dumps cannot carry: SMBus transfers, frequency and voltage transitions, temperatures, time-stamp counters.
#include "sim/models/fid_vid.h"
#include "sim/models/pstates.h"
#include "sim/models/smbus_host.h"
#include "sim/models/thermal.h"
#include "sim/sim_client.h"

namespace vxtsim {
namespace {

// --- SMBus
// --------------------------------------------------------------------------------------------------------------

/// One byte-data transfer; the status that ended it, 0 when it never ended.
uint32_t g_Transfer(CSimClient& rClient, uint16_t usBase, uint8_t ucAddress, uint8_t ucCommand,
                    uint8_t ucControl = 0x48) {
    const auto Port = [usBase](int nOffset) { return static_cast<uint16_t>(usBase + nOffset); };
    rClient.Out(Port(0), 0xFF);
    rClient.Out(Port(4), ucAddress), rClient.Out(Port(3), ucCommand), rClient.Out(Port(2), ucControl);
    EXPECT_EQ(rClient.In(Port(0)) & 1, 1u) << "busy at first";
    for (int i = 0; i < 1000; ++i)
        if (const uint32_t uStatus = rClient.In(Port(0)); !(uStatus & 1)) return uStatus;
    return 0;
}

TEST(Smbus, HostControllerIsWhereTheMachineSays) {
    const struct {
        const char* pszMachine;
        uint16_t usBase;
    } Cases[] = {{"family10h-ddr3", 0xB00},
                 {"family10h-ddr2", 0xB20},
                 {"k8-first", 0x8400},
                 {"k8-revf-dual", 0xB00},
                 {"family11h-mobile", 0xB00}};
    for (const auto& [pszMachine, usBase] : Cases) {
        CSimClient Client(pszMachine);
        ASSERT_NE(Client.m_Machine.Model<CSmbusHost>(), nullptr) << pszMachine;
        EXPECT_EQ(Client.m_Machine.Model<CSmbusHost>()->Base(), usBase) << pszMachine;
        EXPECT_EQ(Client.In(usBase), 0u) << pszMachine;
    }
    CMachineDescription Description = g_Embedded("family10h-ddr3");
    Description.Pci.at({0, 0x14, 0})[0x90] = 0;  // decoding is off
    EXPECT_EQ(CSimMachine(Description).Model<CSmbusHost>(), nullptr);
}

TEST(Smbus, EndsWithTheErrorOfTheCase) {
    CSimClient Client("family10h-ddr3");
    CSmbusHost& rHost = *Client.m_Machine.Model<CSmbusHost>();
    EXPECT_EQ(g_Transfer(Client, 0xB00, 0xA5, 0), 4u) << "nobody at this address";
    EXPECT_EQ(Client.In(0xB02) & 0x40, 0u) << "the start bit reads as zero";
    EXPECT_EQ(g_Transfer(Client, 0xB00, 0xA1, 0, 0x4C), 0x10u) << "a protocol that is not there";
    rHost.Device(0x2F) = {1, 2};
    EXPECT_EQ(g_Transfer(Client, 0xB00, 0x5F, 2), 4u) << "a register that is not there";
    EXPECT_EQ(g_Transfer(Client, 0xB00, 0x5F, 1), 2u);
    rHost.m_bCollides = true;
    EXPECT_EQ(g_Transfer(Client, 0xB00, 0xA1, 0), 8u);
    rHost.m_bCollides = false, rHost.m_bNeverCompletes = true;
    EXPECT_EQ(g_Transfer(Client, 0xB00, 0xA1, 0), 0u);
    Client.Out(0xB00, 0xFF);
    EXPECT_EQ(Client.In(0xB00), 1u) << "the busy bit cannot be cleared";
    Client.Out(0xB02, 2);  // kill
    EXPECT_EQ(Client.In(0xB00), 0x10u);
    rHost.m_bNeverCompletes = false, rHost.m_bAlwaysBusy = true;
    EXPECT_EQ(Client.In(0xB00) & 1, 1u);
}

// --- K8 frequency and voltage
// ---------------------------------------------------------------------------------------------

constexpr uint64_t kPending = uint64_t{1} << 31;

TEST(FidVid, ChangesAreShownAfterAWhileAndStayWithinTheLimits) {
    const struct {
        const char* pszCase;
        const char* pszMachine;
        uint64_t ullControl;
        uint32_t uFid, uVid;
    } Cases[] = {
        {"both", "k8-revf-dual", 0x00010E02 | 1ull << 32, 0x02, 0x0E},
        {"odd frequency with 100 MHz steps", "k8-revf-dual", 0x00010F07, 0x07, 0x0F},
        {"odd frequency without", "k8-first", 0x00010A07, 0x06, 0x0A},
        {"frequency above the maximum", "k8-revf-dual", 0x00010E3F, 0x0D, 0x0E},
        {"voltage above the maximum", "k8-revf-dual", 0x00010002, 0x02, 0x0A},
        {"six-bit voltage", "k8-revf-dual", 0x00012A02, 0x02, 0x2A},
        {"five-bit voltage", "k8-first", 0x00012A02, 0x02, 0x0A},
    };
    for (const auto& [pszCase, pszMachine, ullControl, uFid, uVid] : Cases) {
        CSimClient Client(pszMachine);
        const uint64_t ullBefore = Client.ReadMsr(0xC0010042).value();
        ASSERT_TRUE(Client.WriteMsr(0xC0010041, ullControl)) << pszCase;
        EXPECT_EQ(Client.ReadMsr(0xC0010042), ullBefore | kPending) << pszCase;
        int nReads = 0;
        while (Client.ReadMsr(0xC0010042).value() & kPending) ASSERT_LT(++nReads, 1000) << pszCase;
        EXPECT_GT(nReads, 1) << pszCase;
        const uint64_t ullAfter = Client.ReadMsr(0xC0010042).value();
        EXPECT_EQ(ullAfter & 0x3F, uFid) << pszCase;
        EXPECT_EQ(ullAfter >> 32 & 0x3F, uVid) << pszCase;
        EXPECT_EQ((ullAfter ^ ullBefore) & ~0x3F0000003Full, 0u) << pszCase << ": the rest stays";
    }
}

TEST(FidVid, NothingHappensWithoutTheStartBitAndTheStatusCannotBeWritten) {
    CSimClient Client("k8-revf-dual");
    const auto ullBefore = Client.ReadMsr(0xC0010042);
    EXPECT_TRUE(Client.WriteMsr(0xC0010041, 0x00000E02));
    Client.m_Machine.Advance(1'000'000'000);
    EXPECT_EQ(Client.ReadMsr(0xC0010042), ullBefore);
    EXPECT_FALSE(Client.WriteMsr(0xC0010042, 0));
    EXPECT_EQ(Client.ReadMsr(0xC0010042), ullBefore);
}

TEST(FidVid, AnUnlockedProcessorTakesAnyFrequencyAndAStuckOneNever) {
    CSimClient Client("k8-revf-dual");
    Client.m_Machine.Msr(0, 0xC0010042) = 0x310A120C0A2A020D;  // maximum 2A: no limit
    EXPECT_TRUE(Client.WriteMsr(0xC0010041, 0x00010E30));
    Client.m_Machine.Advance(1'000'000);
    EXPECT_EQ(Client.ReadMsr(0xC0010042).value() & 0x8000003F, 0x30u);
    Client.m_Machine.Model<CFidVid>()->m_bStuck = true;
    EXPECT_TRUE(Client.WriteMsr(0xC0010041, 0x00010E02));
    Client.m_Machine.Advance(10'000'000'000);
    EXPECT_EQ(Client.ReadMsr(0xC0010042).value() & 0x8000003F, 0x80000030u);
}

// --- P-states
// -----------------------------------------------------------------------------------------------------------

TEST(Pstates, ARequestedStateArrivesAfterAWhile) {
    CSimClient Client("family10h-ddr3");
    EXPECT_TRUE(Client.WriteMsr(0xC0010062, 2));
    EXPECT_EQ(Client.ReadMsr(0xC0010063), 0u) << "not yet";
    Client.m_Machine.Advance(1'000'000);
    EXPECT_EQ(Client.ReadMsr(0xC0010063), 2u);
    EXPECT_EQ(Client.ReadMsr(0xC0010071), 0x008000033C024002u)
        << "the definition's fields and the number in bits 18:16";
    EXPECT_EQ(Client.ReadMsr(0xC0010070), 0x3C024002u);
    Client.m_uCore = 1;
    EXPECT_EQ(Client.ReadMsr(0xC0010063), 0u) << "each core has its own state";
}

TEST(Pstates, RequestsAreBoundByTheLimitsAndDisabledStatesAreNotEntered) {
    const struct {
        const char* pszCase;
        uint64_t ullLimit, ullRequest;
        uint32_t uPstate;
    } Cases[] = {
        {"past the last", 0x30, 7, 3},
        {"above the current limit", 0x31, 0, 1},
        {"disabled", 0x40, 4, 0},
        {"without a definition", 0x60, 6, 0},
    };
    for (const auto& [pszCase, ullLimit, ullRequest, uPstate] : Cases) {
        CSimClient Client("family10h-ddr3");
        Client.m_Machine.Msr(0, 0xC0010061) = ullLimit;
        EXPECT_TRUE(Client.WriteMsr(0xC0010062, ullRequest)) << pszCase;
        Client.m_Machine.Advance(1'000'000);
        EXPECT_EQ(Client.ReadMsr(0xC0010063), uPstate) << pszCase;
        EXPECT_EQ(Client.ReadMsr(0xC0010062), ullRequest) << pszCase;
    }
}

TEST(Pstates, DirectControlIsFollowedAsFarAsTheLimitsAllow) {
    const struct {
        const char* pszCase;
        const char* pszMachine;
        uint64_t ullControl;
        uint64_t ullStatus;
    } Cases[] = {
        {"all fields", "family10h-ddr3", 0x0000000004422A45, 0x0080000304422A45 & ~0x00380000ull},
        {"clock above the maximum", "family10h-ddr2", 0x0000000030003007, 0x28AC00C130003006},
        {"voltage above the maximum", "family10h-ddr2", 0x0000000030000202, 0x28AC00C130003002},
        {"voltage below the minimum", "family11h-mobile", 0x000000006C00FE4D, 0x002B00E06C00804D},
    };
    for (const auto& [pszCase, pszMachine, ullControl, ullStatus] : Cases) {
        CSimClient Client(pszMachine);
        const uint64_t ullBefore = Client.ReadMsr(0xC0010071).value();
        EXPECT_TRUE(Client.WriteMsr(0xC0010070, ullControl)) << pszCase;
        EXPECT_EQ(Client.ReadMsr(0xC0010071), ullBefore) << pszCase << ": not yet";
        Client.m_Machine.Advance(1'000'000);
        EXPECT_EQ(Client.ReadMsr(0xC0010071), ullStatus) << pszCase;
        EXPECT_EQ(Client.ReadMsr(0xC0010063), ullStatus >> 16 & 7) << pszCase;
    }
}

TEST(Pstates, StatusRegistersCannotBeWrittenAndAStuckProcessorStays) {
    CSimClient Client("family10h-ddr3");
    for (const uint32_t uIndex : {0xC0010061u, 0xC0010063u, 0xC0010071u}) {
        const auto ullBefore = Client.ReadMsr(uIndex);
        EXPECT_FALSE(Client.WriteMsr(uIndex, 1)) << std::hex << uIndex;
        EXPECT_EQ(Client.ReadMsr(uIndex), ullBefore) << std::hex << uIndex;
    }
    Client.m_Machine.Model<CPstates>()->m_bStuck = true;
    EXPECT_TRUE(Client.WriteMsr(0xC0010062, 2));
    Client.m_Machine.Advance(10'000'000'000);
    EXPECT_EQ(Client.ReadMsr(0xC0010063), 0u);
}

TEST(TimeStampCounter, KeepsThePaceOfItsFamily) {
    const struct {
        const char* pszCase;
        const char* pszMachine;
        uint32_t uSlowerIndex;
        uint64_t ullSlower;
        double dBefore, dAfter;  ///< MHz
    } Cases[] = {
        {"P-state 0 whatever the state", "family10h-ddr3", 0xC0010062, 3, 3000, 3000},
        {"likewise", "family11h-mobile", 0xC0010062, 2, 2100, 2100},
        {"the core's own", "k8-revf-dual", 0xC0010041, 0x00010E02, 2100, 1000},
    };
    for (const auto& [pszCase, pszMachine, uSlowerIndex, ullSlower, dBefore, dAfter] : Cases) {
        CSimClient Client(pszMachine);
        const auto MHz = [&] {
            const uint64_t ullFirst = Client.ReadMsr(0x10).value(), ullNow = Client.m_Machine.Now();
            Client.m_Machine.Advance(1'000'000);
            return static_cast<double>(Client.ReadMsr(0x10).value() - ullFirst) * 1000.0 /
                   static_cast<double>(Client.m_Machine.Now() - ullNow);
        };
        EXPECT_NEAR(MHz(), dBefore, 0.01) << pszCase;
        EXPECT_TRUE(Client.WriteMsr(uSlowerIndex, ullSlower)) << pszCase;
        Client.m_Machine.Advance(1'000'000);
        EXPECT_NEAR(MHz(), dAfter, 0.01) << pszCase;
    }
}

// --- temperatures
// ---------------------------------------------------------------------------------------------------------

TEST(Thermal, RevisionFShowsTheSelectedSensor) {
    constexpr CPciAddress kFunction{0, 0x18, 3};
    CSimClient Client("k8-revf-dual");
    EXPECT_EQ(Client.ReadPci(kFunction, 0xE4), 0x0041A03Eu) << "as dumped";
    CThermalSelect& rSensors = *Client.m_Machine.Model<CThermalSelect>();
    for (uint32_t uCore = 0; uCore < 2; ++uCore)
        for (uint32_t uSensor = 0; uSensor < 2; ++uSensor)
            rSensors.SetCelsius(uCore, uSensor, static_cast<int>(20 + 10 * uCore + uSensor));
    constexpr struct {
        uint32_t uWritten, uRead;
    } kCases[] = {
        {0x00000000, 0x0045A03A}, {0x00000004, 0x004FA03E}, {0xFFFFFFFF, 0x0050A07E}, {0x00000040, 0x0046A07A}};
    for (const auto& [uWritten, uRead] : kCases) {
        EXPECT_TRUE(Client.WritePci(kFunction, 0xE4, uWritten));
        EXPECT_EQ(Client.ReadPci(kFunction, 0xE4), uRead) << std::hex << uWritten;
    }
}

TEST(Thermal, LaterFamiliesShowEighthsOfADegreeThatCannotBeWritten) {
    constexpr CPciAddress kFunction{0, 0x18, 3};
    CSimClient Client("family10h-ddr3");
    Client.m_Machine.Model<CReadOnlyTemperature>()->SetCelsius(61.5);
    EXPECT_EQ(Client.ReadPci(kFunction, 0xA4) >> 21, 492u);
    EXPECT_TRUE(Client.WritePci(kFunction, 0xA4, 0x00001234));
    EXPECT_EQ(Client.ReadPci(kFunction, 0xA4), 492u << 21 | 0x1234);
}

}  // namespace
}  // namespace vxtsim
