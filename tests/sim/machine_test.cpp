// The simulated PC as a whole: firmware tables, power cycles, mappings.
#include <algorithm>

#include "sim/models/core_clock.h"
#include "sim/models/pm_timer.h"
#include "sim/sim_client.h"

namespace vxtsim {
namespace {

uint8_t g_Sum(std::span<const uint8_t> Bytes) {
    uint8_t ucSum = 0;
    for (const uint8_t ucByte : Bytes) ucSum = static_cast<uint8_t>(ucSum + ucByte);
    return ucSum;
}

std::vector<uint8_t> g_Read(CSimMachine& rMachine, uint64_t ullAddress, size_t uSize) {
    std::vector<uint8_t> Bytes(uSize);
    rMachine.ReadMemory(ullAddress, Bytes);
    return Bytes;
}

uint64_t g_Number(std::span<const uint8_t> Bytes, size_t uOffset, size_t uSize) {
    uint64_t ullValue = 0;
    for (size_t i = uSize; i-- > 0;) ullValue = ullValue << 8 | Bytes[uOffset + i];
    return ullValue;
}

/// Walks from the BIOS area to the tables as an operating system does. Signatures by address.
std::map<uint64_t, std::string> g_WalkTables(CSimMachine& rMachine) {
    std::map<uint64_t, std::string> Found;
    const std::vector<uint8_t> Area = g_Read(rMachine, 0xE0000, 0x20000);
    size_t uRoot = 0;
    while (uRoot < Area.size() && std::memcmp(&Area[uRoot], "RSD PTR ", 8) != 0) uRoot += 16;
    if (uRoot == Area.size()) return Found;
    const std::span<const uint8_t> Root = std::span(Area).subspan(uRoot);
    EXPECT_EQ(g_Sum(Root.first(20)), 0);
    const auto Walk = [&](auto& rSelf, uint64_t ullAddress) -> void {
        const uint64_t ullSize = g_Number(g_Read(rMachine, ullAddress, 36), 4, 4);
        ASSERT_LT(ullSize, 0x10000u) << std::hex << ullAddress;
        const std::vector<uint8_t> Table = g_Read(rMachine, ullAddress, static_cast<size_t>(ullSize));
        const std::string sSignature(Table.begin(), Table.begin() + 4);
        Found[ullAddress] = sSignature;
        // An FACS has no sum, and one maker's own table is wrong as dumped.
        EXPECT_TRUE(sSignature == "FACS" || sSignature == "OEMB" || g_Sum(Table) == 0) << sSignature;
        const size_t uEntry = sSignature == "RSDT" ? 4 : sSignature == "XSDT" ? 8 : 0;
        for (size_t uOffset = 36; uEntry && uOffset < Table.size(); uOffset += uEntry)
            rSelf(rSelf, g_Number(Table, uOffset, uEntry));
        if (sSignature == "FACP") rSelf(rSelf, g_Number(Table, 36, 4)), rSelf(rSelf, g_Number(Table, 40, 4));
        if (sSignature == "FACP" && Table.size() > 148) {
            EXPECT_EQ(g_Number(Table, 36, 4), g_Number(Table, 132, 8));
            EXPECT_EQ(g_Number(Table, 40, 4), g_Number(Table, 140, 8));
        }
    };
    Walk(Walk, g_Number(Root, 16, 4));
    if (Root[15] >= 2) {
        EXPECT_EQ(g_Sum(Root.first(36)), 0);
        Walk(Walk, g_Number(Root, 24, 8));
    }
    return Found;
}

TEST(Machine, EveryTableIsFoundFromTheBiosArea) {
    for (const std::string& sName : g_MachineNames()) {
        SCOPED_TRACE(sName);
        CSimMachine Machine(g_Embedded(sName));
        const auto Found = g_WalkTables(Machine);
        for (const auto& [sSignature, Table] : Machine.Description().Acpi) {
            ASSERT_TRUE(Found.contains(Machine.AcpiAddress(sSignature))) << sSignature;
            EXPECT_EQ(Found.at(Machine.AcpiAddress(sSignature)), sSignature);
        }
        // Firmware of ACPI 2 gives 64-bit tables too.
        EXPECT_EQ(Machine.AcpiAddress("XSDT") != 0, Machine.Memory(Machine.AcpiAddress("FACP"))[8] >= 3);
    }
}

TEST(Machine, EveryBuiltInMachineHasWhatTheLibraryNeeds) {
    for (const std::string& sName : g_MachineNames()) {
        SCOPED_TRACE(sName);
        CSimClient Client(sName.c_str());
        CSimMachine& rMachine = Client.m_Machine;
        const CCpuidResult Vendor = rMachine.Cpuid(0, 0);
        const uint32_t auVendor[] = {Vendor.uEbx, Vendor.uEdx, Vendor.uEcx};
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(auVendor), 12), "AuthenticQOR");
        const uint32_t uCores = rMachine.ProcessorCount();
        EXPECT_EQ(uCores == 1 ? 1 : rMachine.Cpuid(0, 1).uEbx >> 16 & 0xFF, uCores == 1 ? 1 : uCores)
            << "logical processors";
        EXPECT_EQ(rMachine.Cpuid(0, 0x80000008).uEcx & 0xFF, uCores - 1);
        EXPECT_EQ(rMachine.Cpuid(uCores - 1, 1).uEbx >> 24, uCores - 1) << "APIC ID";
        EXPECT_EQ(rMachine.Cpuid(0, 1).uEax, rMachine.PciDword({0, 0x18, 3}, 0xFC))
            << "the north bridge knows its processor";

        const uint32_t uExtendedFamily = rMachine.Cpuid(0, 1).uEax >> 20 & 0xFF;
        for (uint8_t ucFunction = 0; ucFunction < 4; ++ucFunction)
            EXPECT_EQ(Client.ReadPci({0, 0x18, ucFunction}, 0),
                      0x11001022u + ((uExtendedFamily << 8 | ucFunction) << 16));
        EXPECT_NE(Client.ReadPci({0, 0x14, 0}, 0), 0xFFFFFFFFu);
        EXPECT_GE(rMachine.Memory(rMachine.AcpiAddress("FACP")).size(), 80u);
        EXPECT_GT(rMachine.Memory(rMachine.AcpiAddress("APIC")).size(), 40u);
        EXPECT_NE(Client.MapApicTimer(), 0u);
        EXPECT_NE(rMachine.Model<CPmTimer>(), nullptr);
    }
}

TEST(Machine, AfterAPowerCycleItIsAsItWasAtFirst) {
    CSimClient Client("family10h-ddr3"), Fresh("family10h-ddr3");
    CSimMachine& rMachine = Client.m_Machine;
    for (int nRun = 0; nRun < 2; ++nRun) {
        EXPECT_TRUE(Client.WriteMsr(0xC0010062, 2) && Client.WriteMsr(0x10, 0));
        EXPECT_TRUE(Client.WritePci({0, 0x18, 3}, 0x84, 0x01020304) && Client.WriteMemory(0xFFFF0, 7));
        EXPECT_TRUE(Client.WritePci({0, 0x18, 2}, 0x9C, 5) && Client.WritePci({0, 0x18, 2}, 0x98, 0x40000000));
        EXPECT_NE(Client.MapApicTimer(), 0u);
        rMachine.SetReferenceClock(250);
        rMachine.RemovePci({2, 0, 0});
        rMachine.PowerCycle();
        EXPECT_EQ(rMachine.Now(), 0u);
        EXPECT_EQ(rMachine.MappingCount(), 0u);
        EXPECT_EQ(rMachine.ReferenceMHz(), 200.0);
        for (CSimClient* const pClient : {&Client, &Fresh}) pClient->m_Machine.Advance(1'000'000);
        EXPECT_EQ(Client.ReadMsr(0xC0010063), Fresh.ReadMsr(0xC0010063));
        EXPECT_EQ(Client.ReadMsr(0x10), Fresh.ReadMsr(0x10));
        EXPECT_EQ(Client.ReadPci({0, 0x18, 3}, 0x84), 0x01E201A1u);
        EXPECT_EQ(Client.ReadPci({2, 0, 0}, 0), 0x816810ECu);
        EXPECT_EQ(Client.ReadMemory(0xFFFF0), 0x00E05BEAu);
        Fresh.m_Machine.PowerCycle();
    }
}

TEST(Machine, AnAccessToWhatIsNotMappedEndsTheProgram) {
    CSimClient Client("family10h-ddr3");
    const uint64_t ullTimer = Client.MapApicTimer();
    const std::vector<uint8_t> Block = Client.m_Block;
    EXPECT_DEATH(Client.m_Machine.ReadMapped(ullTimer + 0xFD), "access to address 200000FD, which is not mapped");
    ASSERT_TRUE(Client.m_Server.Control(0x81112EF4, 0, Block, {}).bSuccess);
    EXPECT_DEATH(Client.m_Machine.WriteMapped(ullTimer, 1), "access to address 20000000, which is not mapped");
}

/// Real memory in place of a driver's mapping.
class CPlainMemory final : public CMappingProvider {
public:
    uint64_t Map(uint64_t, uint32_t uSize, uint32_t*& rpBacking, uint64_t& rullHandle) override {
        m_Words.assign(uSize / 4, 0);
        rpBacking = m_Words.data();
        rullHandle = 77;
        return m_bRefuse ? 0 : 0x12340000;
    }
    void Unmap(uint64_t ullHandle) override { m_bUnmapped = ullHandle == 77; }
    uint32_t& operator[](size_t uOffset) { return m_Words[uOffset / 4]; }

    std::vector<uint32_t> m_Words;
    bool m_bRefuse = false, m_bUnmapped = false;
};

TEST(Machine, TheApicTimerRunsInMemoryThatAClientSharesWithTheDriver) {
    CSimClient Client("family10h-ddr3");
    CPlainMemory Page;
    Client.m_Machine.SetMappingProvider(&Page);
    ASSERT_EQ(Client.MapApicTimer(), 0x12340000u);
    for (int nRun = 0; nRun < 2; ++nRun) {  // the second start writes the same count: it cannot be seen and need not
        Page[0xE0] = 2, Page[0x80] = 0xFFFFFFFF;
        Client.In(0x80);
        const uint32_t uFirst = Page[0x90];
        for (int i = 0; i < 200; ++i) Client.In(0x80);
        EXPECT_EQ(uFirst - Page[0x90], 200u * 5 * 200 / 8) << nRun;
        Client.m_Machine.Advance(200 * uint64_t{1'000'000'000});  // longer than the counter lasts
    }
    std::array<uint8_t, 32> Block{};
    Block[24] = 77;  // the handle
    EXPECT_TRUE(Client.m_Server.Control(0x81112EF4, 0, Block, {}).bSuccess);
    EXPECT_TRUE(Page.m_bUnmapped);
    Page.m_bRefuse = true;
    EXPECT_EQ(Client.MapApicTimer(), 0u);
    EXPECT_EQ(Client.m_Machine.MappingCount(), 0u);
}

TEST(SimMachine, ACoreBeyondItsSiliconErrsTheMoreOftenTheFasterItIs) {
    CMachineDescription Description;
    std::string sError;
    ASSERT_TRUE(g_LoadMachine("family10h-ddr3", Description, sError)) << sError;
    constexpr struct {
        uint32_t uMaxCoreClock;  // the cores run at 3000 MHz
        int nWrong;              // of 1000 answers
    } kCases[] = {{0, 0}, {3000, 0}, {2960, 100}, {2600, 1000}, {1000, 1000}};
    for (const auto& [uMaxCoreClock, nWrong] : kCases) {
        Description.uMaxCoreClock = uMaxCoreClock;
        CSimMachine Machine(Description);
        int nFound = 0;
        for (int i = 0; i < 1000; ++i) nFound += Machine.Miscompute(1) != 0;
        EXPECT_NEAR(nFound, nWrong, 1) << uMaxCoreClock;
        EXPECT_EQ(Machine.Miscompute(Description.uCores), 0u) << "no such core";
    }
}

TEST(SimMachine, VirtualTimeBringsOneErrorAndTheLimitsMoveWithTheVoltage) {
    constexpr uint64_t kSecond = 1'000'000'000;
    // The cores run at 3000 MHz; what the description says holds at 1.3 V.
    CMachineDescription Description = g_Parsed(
        "[machine]\nbased_on = family10h-ddr3\nmax_core_clock = 2900\nmax_core_clock_voltage = 1.3\n"
        "max_core_clock_slope = 1800\nhang_core_clock = 2920\n");
    constexpr struct {
        uint32_t uVid;  // 1.55 V - 12.5 mV each
        int nErrors;
        const char* pszHang;
    } kCases[] = {
        {15, 0, ""},  // 1.3625 V: good for 3012.5 MHz
        {16, 1, ""},  // 1.35 V: 2990 MHz, hangs at 3010
        {17, 1, "the simulated PC hangs: core 0 at 3000 MHz, its silicon stands 2987.5 MHz"},
    };
    for (const auto& [uVid, nErrors, pszHang] : kCases) {
        SCOPED_TRACE(uVid);
        Description.Msr[{kAllCores, 0xC0010071}] = 0x8000033C00000E | uint64_t{uVid} << 9;
        for (void (*pPass)(CSimMachine&) : {+[](CSimMachine& r) { r.Advance(kSecond); },
                                            +[](CSimMachine& r) {
                                                for (int i = 0; i < 3; ++i) r.Rest(kSecond / 3 + 1);
                                            }}) {
            CSimMachine Machine(Description);
            pPass(Machine);
            EXPECT_EQ(Machine.ErrorsDue() != 0, nErrors != 0);
            EXPECT_EQ(Machine.HangReason(), pszHang);
            EXPECT_EQ(Machine.HasHung(), *pszHang != 0);
            EXPECT_EQ((Machine.Miscompute(3) != 0) + (Machine.Miscompute(3) != 0), nErrors) << "they do not queue up";
            Machine.PowerCycle();
            EXPECT_FALSE(Machine.HasHung());
            Machine.SetReferenceClock(260);
            Machine.Advance(kSecond / 5);
            EXPECT_FALSE(Machine.HasHung());
            Machine.SetReferenceClock(190);
            EXPECT_EQ(Machine.Miscompute(0), 0u) << "a core that is slower again has no error due";
        }
    }
}

TEST(SimMachine, VoltagesOfAllFamiliesAreKnown) {
    constexpr struct {
        const char* pszMachine;
        uint32_t uIndex;
        uint64_t ullStatus;
        double dMHz, dVolts;
    } kCases[] = {
        {"k8-first", 0xC0010042, 0x12060808060C0C0C, 2010, 1.35},
        {"k8-revf-dual", 0xC0010042, 0x310A120C0A0D020D, 2100, 1.25},
        {"k8-revf-dual", 0xC0010042, 0x310A12280A0D020D, 2100, 0.6625},
        {"family11h-mobile", 0xC0010071, 0x002B00E06C00380D, 2100, 1.2},
        {"family11h-mobile", 0xC0010071, 0x002B00E06C00F80D, 2100, 0},
    };
    for (const auto& [pszMachine, uIndex, ullStatus, dMHz, dVolts] : kCases) {
        CMachineDescription Description = g_Embedded(pszMachine);
        Description.Msr[{kAllCores, uIndex}] = ullStatus;
        const CSimMachine Machine(Description);
        const CCoreClock& rClock = *Machine.Model<CCoreClock>();
        EXPECT_DOUBLE_EQ(rClock.SettledMHz(0), dMHz) << pszMachine;
        EXPECT_DOUBLE_EQ(rClock.SettledVolts(0), dVolts) << pszMachine;
    }
}

TEST(SimMachine, LoadsSwingAndRestIsNoTimeThatProgramsCanMeasure) {
    CSimMachine Machine(g_Parsed("[machine]\ncores = 2\nload = 80\nload_period = 10\n"));
    constexpr uint64_t kSecond = 1'000'000'000;
    EXPECT_EQ(Machine.Load(0), 0);
    Machine.Advance(2 * kSecond);
    Machine.Rest(3 * kSecond);
    EXPECT_DOUBLE_EQ(Machine.Load(0), 0.8);
    EXPECT_EQ(Machine.Load(1), 0);
    EXPECT_EQ(Machine.Now(), 2 * kSecond);
    Machine.Advance(5 * kSecond);
    EXPECT_NEAR(Machine.Load(0), 0, 1e-9);
    EXPECT_NEAR(Machine.AverageLoad(0), 0.4, 1e-9);
}

}  // namespace
}  // namespace vxtsim
