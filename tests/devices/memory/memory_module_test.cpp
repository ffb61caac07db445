// Memory modules: which addresses they are at, when they are read, and what is left when one stops answering.
#include "devices/memory/memory_module.h"

#include <gmock/gmock.h>

#include "sim/models/smbus_host.h"
#include "support/devices.h"
#include "support/simulated_pc.h"

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxttest::g_ProcessError;

struct CModuleTest : vxttest::CSimulatedPc {
    /// The default machine with these modules in place of its own.
    void StartWith(std::map<uint8_t, std::vector<uint8_t>> Modules) {
        Start(kDefaultMachine, [&](vxtsim::CMachineDescription& rMachine) { rMachine.Smbus = std::move(Modules); });
        ASSERT_TRUE(StartDriver());
    }
    std::vector<uint8_t> Image(const char* pszMachine, uint8_t ucAddress) {
        return Describe(pszMachine).Smbus.at(ucAddress);
    }
    vxtapi::MemoryModuleInfo Info() {
        vxtapi::MemoryModuleInfo Result;
        m_bTold = m_Module.GetModuleInfo(&Result);
        return Result;
    }

    vxt::CDefaultMemory m_Module = g_Make<vxt::CDefaultMemory>();
    bool m_bTold = false;
};

TEST_F(CModuleTest, EachAddressAtWhichOneAnswersIsADeviceAndItsDataAreReadOnce) {
    const std::vector<uint8_t> Ddr = Image("k8-first", 0x50);
    StartWith({{0x4F, Ddr}, {0x51, Image("family10h-ddr2", 0x50)}, {0x57, Ddr}, {0x58, Ddr}});
    EXPECT_FALSE(m_Module.Init(2));
    ASSERT_TRUE(m_Module.Init(1));
    TakeTrace();
    // What decode-dimms prints of the module, a real one.
    EXPECT_STREQ(m_Module.GetModel(), L"8VDDT3264AG-40BG5");
    EXPECT_THAT(TakeTrace(), Not(IsEmpty()));
    EXPECT_STREQ(m_Module.GetVendor(), L"Micron Technology");
    EXPECT_STREQ(m_Module.GetDescription(), L"DDR unbuffered, 256 MiB");
    EXPECT_STREQ(m_Module.GetDramVendor(), L"");
    const vxtapi::MemoryModuleInfo Told = Info();
    EXPECT_THAT((std::vector{Told.uVerdict, Told.uMemory, Told.uAddress, Told.uSize, Told.uRanks, Told.uDataWidth,
                             Told.uEccWidth, Told.uDeviceWidth, Told.uBanks, Told.uRowBits, Told.uColumnBits}),
                ElementsAre(0, 7, 0x57, 256, 1, 64, 0, 8, 4, 13, 10));
    EXPECT_THAT((std::vector{Told.uYear, Told.uWeek, Told.uStoredSum, Told.uComputedSum}),
                ElementsAre(2004, 29, 0x80, 0x80));
    EXPECT_TRUE(Told.bHasSerial && Told.bHasSum);
    EXPECT_EQ(Told.uSerial, 0x74759A0Au);
    EXPECT_DOUBLE_EQ(Told.adVoltages[0], 2.5);
    double adClocks[3];
    uint32_t uSize = 2;
    EXPECT_FALSE(m_Module.GetCasLatencies(adClocks, uSize));
    EXPECT_TRUE(m_Module.GetCasLatencies(adClocks, uSize = 3));
    EXPECT_THAT(adClocks, ElementsAre(2.0, 2.5, 3.0));
    vxtapi::MemoryModuleGrade Grade;
    ASSERT_TRUE(m_Module.GetGrade(0, &Grade));
    EXPECT_THAT((std::vector{Grade.dCasLatency, Grade.dClock, Grade.Trcd.dClocks, Grade.Trp.dClocks, Grade.Tras.dClocks,
                             Grade.Tras.dNanoseconds, Grade.Tfaw.dClocks}),
                ElementsAre(3, 200, 3, 3, 8, 40, 0));
    EXPECT_FALSE(m_Module.GetGrade(m_Module.GetGradeCount(), &Grade));
    EXPECT_THAT(TakeTrace(), IsEmpty()) << "all from what was read first";
    uint8_t aucSpd[256];
    EXPECT_FALSE(m_Module.ReadSpd(aucSpd, uSize = 255));
    EXPECT_TRUE(m_Module.ReadSpd(aucSpd, uSize = 256));
    EXPECT_TRUE(uSize == 256 && std::ranges::equal(aucSpd, Ddr));
}

TEST_F(CModuleTest, AModuleThatStopsAnsweringIsAskedAgain) {
    ASSERT_TRUE(StartDriver() && m_Module.Init(0));
    auto& rHost = Machine().Plug<vxtsim::CSmbusHost>(vxt::g_GetDriverHandler().GetSMBusBase());
    const std::vector<uint8_t> Whole = Image(kDefaultMachine, 0x50);
    rHost.Device(0x50).clear();
    const vxtapi::MemoryModuleInfo Silent = Info();
    EXPECT_FALSE(m_bTold);
    EXPECT_EQ(Silent.uVerdict, vxtapi::kSpdUnreadable);
    EXPECT_EQ(Silent.uAddress, 0x50u);
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("ouRead", "CDefaultMemory::_Record"),
                                                g_ProcessError("pRecord", "CDefaultMemory::GetModuleInfo")));
    EXPECT_STREQ(m_Module.GetModel(), L"");
    EXPECT_EQ(m_Module.GetGradeCount(), 0u);
    uint8_t aucSpd[256];
    uint32_t uSize = sizeof(aucSpd);
    EXPECT_FALSE(m_Module.ReadSpd(aucSpd, uSize));
    rHost.Device(0x50) = Whole;
    EXPECT_EQ(Info().uVerdict, vxtapi::kSpdRight);
    EXPECT_STREQ(m_Module.GetModuleType(), L"UDIMM");
    rHost.Device(0x50).resize(100);
    EXPECT_TRUE(m_Module.ReadSpd(aucSpd, uSize));
    EXPECT_EQ(uSize, 100u) << "what it has";
    vxt::CDefaultMemory Cut(vxt::g_GetDriverHandler());
    vxtapi::MemoryModuleInfo CutInfo;
    EXPECT_TRUE(Cut.Init(0) && Cut.GetModuleInfo(&CutInfo));
    EXPECT_EQ(CutInfo.uVerdict, vxtapi::kSpdTooShort);
}

TEST_F(CModuleTest, ErasedAndForeignModulesAreDevicesAllTheSame) {
    std::vector<uint8_t> Foreign(256), Wrong = Image("family10h-ddr2", 0x50);
    Foreign[2] = 12, Wrong[63] ^= 1;
    StartWith({{0x50, std::vector<uint8_t>(256, 0xFF)}, {0x51, Foreign}, {0x52, Wrong}});
    constexpr vxtapi::eSpdVerdict kVerdicts[] = {vxtapi::kSpdErased, vxtapi::kSpdUnknownType,
                                                 vxtapi::kSpdWrongChecksum};
    for (uint32_t i = 0; i < std::size(kVerdicts); ++i) {
        vxt::CDefaultMemory Module = g_Make<vxt::CDefaultMemory>();
        vxtapi::MemoryModuleInfo Told;
        ASSERT_TRUE(Module.Init(i) && Module.GetModuleInfo(&Told));
        EXPECT_EQ(Told.uVerdict, kVerdicts[i]);
        EXPECT_EQ(Told.uSize, i == 2 ? 1024u : 0u);
        EXPECT_STREQ(Module.GetDescription(), i == 2 ? L"DDR2 UDIMM, 1024 MiB" : L"Unknown memory");
    }
}

}  // namespace
