// The family 11h core where a row of cpu_traffic.txt does not suffice.
#include "devices/cpu/cpu_fixture.h"

namespace {

using ::testing::IsEmpty;
using vxttest::g_ProcessError;

/// Shows the helper that hosts of the class's heirs use.
struct CTalvorPeek : vxt::CTalvorCPU {
    using CTalvorCPU::_CheckTscFreqSel;
    using CTalvorCPU::CTalvorCPU;
};

struct Family11hCpu : vxttest::CCpuTest<CTalvorPeek> {};

TEST_F(Family11hCpu, TheTimeStampCounterIsSteadyWhenTheFrequencySelectSaysSo) {
    StartProcessor("11h");
    EXPECT_FALSE(m_Cpu._CheckTscFreqSel()) << "before Init nobody knows the family";
    EXPECT_THAT(TakeRequests(), IsEmpty());
    ASSERT_TRUE(m_Cpu.Init(0));
    EXPECT_TRUE(m_Cpu._CheckTscFreqSel());
    Msr(0xC0010015) = 0xFFFFFFFFFEFFFFFF;
    EXPECT_FALSE(m_Cpu._CheckTscFreqSel());
    Machine().RemoveMsr(0, 0xC0010015);
    EXPECT_FALSE(m_Cpu._CheckTscFreqSel());
    EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("bRetCode", "CTalvorCPU::_CheckTscFreqSel"));
}

}  // namespace
