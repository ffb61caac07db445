// Cache and memory testers, and the caches that they are sized by.
#include <cpuid.h>
#include <gtest/gtest.h>

#include <functional>
#include <list>

#include "bench/cache_tester.h"
#include "bench/memory_passes.h"
#include "bench/memory_tester.h"
#include "support/allocations.h"
#include "support/simulated_pc.h"

namespace {

using namespace vxt;
using vxttest::CAllocationFault;

constexpr size_t kMiB = 1024 * 1024;

/// What the processor of the row that runs answers.
uint32_t s_uHighest, s_uEcx, s_uEdx;
platform::CCpuidRegisters g_RowCpuid(uint32_t uLeaf) {
    if (uLeaf == 0x80000000) return {s_uHighest, 0, 0, 0};
    return {0, 0, s_uEcx, s_uEdx};
}

TEST(CacheGeometry, IsReadWhereTheProcessorTellsItAndSizesTheMemoryRegion) {
    constexpr struct {
        const char* pszCase;
        uint32_t uHighest, uEcx, uEdx;
        bool bTold;
        uint32_t uSecondLevelKiB, uLineBytes, uThirdLevelKiB;
        size_t uRegion;
    } kCases[] = {
        {"512 KiB, 6 MiB", 0x8000001B, 0x02008140, 0x0030B140, true, 512, 64, 6144, 64 * kMiB},
        {"large third level", 0x80000028, 0x04006140, 0x0101A140, true, 1024, 64, 32768, 132 * kMiB},
        {"every bit", 0x80000006, 0xFFFFFFFF, 0xFFFFFFFF, true, 65535, 255, 16383 * 512, 256 * kMiB},
        {"nothing told", 0x80000006, 0, 0, true, 0, 0, 0, 64 * kMiB},
        {"no such leaf", 0x80000005, 0x04006140, 0x0101A140, false, 0, 0, 0, 64 * kMiB},
    };
    for (const auto& rCase : kCases) {
        SCOPED_TRACE(rCase.pszCase);
        s_uHighest = rCase.uHighest, s_uEcx = rCase.uEcx, s_uEdx = rCase.uEdx;
        const std::optional<CCacheGeometry> oGeometry = g_QueryCacheGeometry(g_RowCpuid);
        EXPECT_EQ(oGeometry.has_value(), rCase.bTold);
        const CCacheGeometry Geometry = oGeometry.value_or(CCacheGeometry{});
        EXPECT_EQ(Geometry.uSecondLevelKiB, rCase.uSecondLevelKiB);
        EXPECT_EQ(Geometry.uLineBytes, rCase.uLineBytes);
        EXPECT_EQ(Geometry.uThirdLevelKiB, rCase.uThirdLevelKiB);
        EXPECT_EQ(g_MemoryRegion(Geometry), rCase.uRegion);
    }
}

TEST(Bandwidth, CountsMegabytesOf1024Times1024Bytes) {
    EXPECT_EQ(g_MegabytesPerSecond(17'179'869'184, 1.0), 16384.0f);
    EXPECT_EQ(g_MegabytesPerSecond(17'179'869'184, 0.5), 32768.0f);
}

TEST(Bandwidth, APassTouchesEveryWordOnceAndNothingBeyond) {
    std::vector<uint32_t> Words(3 * kBlockBytes / sizeof(uint32_t) + 1, 1);
    size_t uCalls = 0;
    g_Pass(Words.data(), 3, [&](volatile uint32_t* pWord) { *pWord = *pWord + static_cast<uint32_t>(++uCalls); });
    for (size_t i = 0; i + 1 < Words.size(); ++i) EXPECT_EQ(Words[i], i + 2);
    EXPECT_EQ(Words.back(), 1u);
}

TEST(Bandwidth, ABlockBeginsLessThanABlockBehindAnyWord) {
    std::vector<uint32_t> Words(2 * kBlockBytes / sizeof(uint32_t));
    for (uint32_t& rWord : Words) {
        const auto uBegin = reinterpret_cast<uintptr_t>(g_BeginOfBlock(&rWord));
        EXPECT_EQ(uBegin % kBlockBytes, 0u);
        EXPECT_LT(uBegin - reinterpret_cast<uintptr_t>(&rWord), kBlockBytes);
    }
}

struct CBandwidthTest : vxttest::CSimulatedPc {
    /// Every allocation fails from now on, until Recover.
    void RunOutOfMemory() {
        m_Faults.emplace_back(0, [this] { RunOutOfMemory(); });
    }
    void Recover() { m_Faults.clear(); }
    std::list<CAllocationFault> m_Faults;
};

TEST_F(CBandwidthTest, TheCacheTesterToldByThisComputerMeasuresUnlessMemoryIsShort) {
    CCacheTester Tester(16);
    ASSERT_TRUE(Tester.Init());
    uint32_t uEax = 0, uEbx = 0, uEcx = 0, uEdx = 0;
    if (__get_cpuid(0x80000006, &uEax, &uEbx, &uEcx, &uEdx)) { EXPECT_EQ(Tester.GetCacheSize(), uEcx >> 16); }
    EXPECT_GT(Tester.MeasureReadBandwidth(), 0.0f);
    EXPECT_TRUE(Tester.Run());
    RunOutOfMemory();
    EXPECT_FALSE(Tester.Run());
    Recover();
    EXPECT_EQ(m_Log.TakeErrors(),
              vxttest::Lines{vxttest::g_ProcessError("pBuffer", "CCacheTester::MeasureReadBandwidth")});
}

TEST_F(CBandwidthTest, TheMemoryTesterTakesASmallerRegionAndFailsOnlyWithoutAny) {
    CMemoryTester Tester(0);
    EXPECT_TRUE(Tester.Run());
    CAllocationFault Once(0);
    EXPECT_GT(Tester.MeasureReadBandwidth(), 0.0f);
    EXPECT_EQ(Once.Counted(), 2u);
    Once.Stop();
    RunOutOfMemory();
    EXPECT_FALSE(Tester.Run());
    Recover();
    EXPECT_EQ(m_Log.TakeErrors(),
              (vxttest::Lines{vxttest::g_ProcessError("Region.pWords", "CMemoryTester::MeasureReadBandwidth"),
                              vxttest::g_ProcessError("Region.pWords", "CMemoryTester::MeasureWriteBandwidth")}));
}

}  // namespace
