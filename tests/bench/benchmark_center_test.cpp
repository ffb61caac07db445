// The benchmark center: its testers, and what is left of them when memory runs out.
#include "bench/benchmark_center.h"

#include <gmock/gmock.h>

#include "support/allocations.h"
#include "support/simulated_pc.h"

namespace {

using namespace vxtapi;
using vxttest::g_ProcessError;
using vxttest::Lines;

constexpr eTester kTesters[] = {kTesterProcessor, kTesterMemory, kTesterCache};

struct CBenchmarkCenterTest : vxttest::CSimulatedPc {
    /// How many there are; they are made in this order.
    size_t Testers() {
        return std::ranges::count_if(kTesters, [&](uint32_t uTester) { return m_Center.GetTester(uTester); });
    }
    vxt::CBenchmarkCenter m_Center;
};

TEST_F(CBenchmarkCenterTest, EachTesterTellsWhatItIs) {
    ASSERT_TRUE(m_Center.Init());
    constexpr const wchar_t* kNames[] = {L"CPUTester", L"MemoryTester", L"CacheTester"};
    for (size_t i = 0; i < std::size(kTesters); ++i) {
        CTester* const pTester = m_Center.GetTester(kTesters[i]);
        ASSERT_NE(pTester, nullptr);
        EXPECT_STREQ(pTester->GetName(), kNames[i]);
        EXPECT_STREQ(pTester->GetUnit(), i == 0 ? nullptr : L"MB/s");
    }
    EXPECT_EQ(m_Center.GetTester(1), nullptr);

    auto& rProcessor = *static_cast<CCPUTester*>(m_Center.GetTester(kTesterProcessor));
    EXPECT_STREQ(rProcessor.GetIntegerComputation()->GetName(), L"IntegerComputation");
    EXPECT_STREQ(rProcessor.GetIntegerComputation()->GetUnit(), L"D/s");
    EXPECT_STREQ(rProcessor.GetFloatingPointComputation()->GetName(), L"FloatingPointComputation");
    EXPECT_STREQ(rProcessor.GetFloatingPointComputation()->GetUnit(), L"MI/s");
    EXPECT_TRUE(rProcessor.Uninit());
    EXPECT_EQ(rProcessor.GetIntegerComputation(), nullptr);
    EXPECT_FALSE(rProcessor.Run());

    m_Center.UnInit();
    EXPECT_EQ(Testers(), 0u);
}

TEST_F(CBenchmarkCenterTest, WhatWasMadeBeforeMemoryRanOutStaysAndTheNextStartMakesTheRest) {
    const std::string sTester = g_ProcessError("pBMTester", "CBenchmarkCenter::Init");
    const std::string sStep = g_ProcessError("bRetCode", "CBenchmarkCenter::Init");
    const struct {
        Lines Log;
        size_t uTesters;
    } kFailures[] = {
        {{g_ProcessError("m_pMapBM", "CBenchmarkCenter::Init")}, 0},
        {{sTester}, 0},
        {{g_ProcessError("m_pCPUTesterIC", "CCPUTester::Init"), sStep}, 0},
        {{g_ProcessError("m_pCPUTesterFPC", "CCPUTester::Init"), sStep}, 0},
        {{sStep}, 0},
        {{sTester}, 1},
        {{sStep}, 1},
        {{sTester}, 2},
        {{sStep}, 2},
    };
    uint64_t ullGood = 0;
    for (const auto& [Log, uTesters] : kFailures) {
        SCOPED_TRACE(ullGood);
        vxttest::CAllocationFault Fault(ullGood++);
        EXPECT_FALSE(m_Center.Init());
        Fault.Stop();
        EXPECT_EQ(m_Log.TakeErrors(), Log);
        EXPECT_EQ(Testers(), uTesters);
        CTester* const pProcessor = m_Center.GetTester(kTesterProcessor);
        EXPECT_TRUE(m_Center.Init());
        EXPECT_EQ(Testers(), 3u);
        EXPECT_TRUE(!pProcessor || m_Center.GetTester(kTesterProcessor) == pProcessor);
        m_Center.UnInit();
    }
    vxttest::CAllocationFault Fault(ullGood);
    EXPECT_TRUE(m_Center.Init());
    EXPECT_FALSE(Fault.HasFailed());
    vxttest::CAllocationFault NoMemory(0);
    EXPECT_TRUE(m_Center.Init()) << "nothing is made anew";
}

}  // namespace
