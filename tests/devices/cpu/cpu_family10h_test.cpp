// The family 10h core where a row of cpu_traffic.txt does not suffice.
#include "devices/cpu/cpu_fixture.h"
#include "sim/models/pstates.h"
#include "sim/models/smbus_host.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using vxttest::g_CheckError;
using vxttest::g_ProcessError;
using vxttest::kMiscControl;
using vxttest::Lines;

struct Family10hCpu : vxttest::CCpuTest<vxt::CBrevikCPU> {
    Family10hCpu() { StartProcessor("10h"); }
};

TEST_F(Family10hCpu, AFailedNorthBridgeReadCountsAsZeroAndIsReported) {
    System().FailAfter(1);  // after pinning the thread
    Machine().RemovePci(kMiscControl);
    EXPECT_EQ(m_Cpu.GetCurrentNBMultiplier(), 31 + 4.0) << "the driver's own request answers: an absent function";
    System().m_RequestFaults = vxtsim::CFaultPlan::After(0, vxtsim::EFault::kFail, true);
    m_Log.Take();
    EXPECT_EQ(m_Cpu.GetCurrentNBMultiplier(), 4.0);
    EXPECT_EQ(m_Log.TakeErrors().back(), g_CheckError("bRetCode", "CBrevikCPU::GetCurrentNBMultiplier"));
}

TEST_F(Family10hCpu, InitJudgesTheTimeStampCounterAndAcceptsAnUnsteadyOne) {
    const struct {
        const char* pszRegisters;
        bool bSteady;
    } kCases[] = {{"C0010015=01000018", true}, {"C0010015=18", false}, {"80000007=F9", false}};
    for (const auto& [pszRegisters, bSteady] : kCases) {
        StartProcessor("10h", pszRegisters);
        EXPECT_TRUE(m_Cpu.Init(0));
        EXPECT_EQ(m_Cpu.HasSteadyTsc(), bSteady) << pszRegisters;
        EXPECT_TRUE(m_Cpu.UnInit());
    }
}

TEST_F(Family10hCpu, GivesUpOnATransitionThatNeverEnds) {
    Machine().Plug<vxtsim::CPstates>(16u).m_bStuck = true;
    EXPECT_FALSE(m_Cpu.SetCurrentMultiplier(16.0));
    Lines Expected(1002, "rdmsr 0 C0010071");
    Expected[0] = "rdmsr 0 C0010070", Expected[1] = "wrmsr 0 C0010070 3C01200E 00000000";
    EXPECT_THAT(TakeRequests(), ElementsAreArray(Expected));
    EXPECT_FALSE(m_Cpu.SetCurrentVoltage(1.2));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("nCounter < 1000", "CBrevikCPU::SetCurrentMultiplier"),
                                                g_ProcessError("nCounter < 1000", "CBrevikCPU::SetCurrentVoltage")));
}

TEST_F(Family10hCpu, WithoutARecordNothingIsAsked) {
    bool bOutput = true;
    EXPECT_FALSE(m_Cpu.GetBoostState(&bOutput, nullptr) || m_Cpu.GetBoostState(nullptr, &bOutput));
    m_Log.Take();
    EXPECT_FALSE(m_Cpu.GetPstate(0, nullptr) || m_Cpu.SetPstate(0, nullptr));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("pPstate", "CBrevikCPU::GetPstate"),
                                                g_ProcessError("pPstate", "CBrevikCPU::SetPstate")));
    EXPECT_THAT(TakeRequests(), IsEmpty());
}

TEST_F(Family10hCpu, TakesTheTemperatureFromItsSmbusSensorWhereItHasNoneItself) {
    const auto Temperature = [this] { return static_cast<const double*>(m_Cpu.GetThermTrip()); };
    Machine().SetPciDword(kMiscControl, 0xA4, 0x001FFFFF);
    EXPECT_FALSE(Temperature()) << "no sensor answers on the bus";
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("bRetCode", "CBrevikCPU::_ReadSBTSIRegister"),
                                                g_ProcessError("bRetCode", "CBrevikCPU::GetThermTrip")));
    auto& rSmbus = Machine().Plug<vxtsim::CSmbusHost>(vxt::g_GetDriverHandler().GetSMBusBase());
    std::vector<uint8_t>& rSensor = rSmbus.Device(0x4C);  // 98h as a 7-bit address
    rSensor.assign(0x20, 0xFF);
    rSensor[0x01] = 55, rSensor[0x10] = 0xBF;
    ASSERT_TRUE(Temperature());
    EXPECT_EQ(*Temperature(), 55.625);
}

TEST_F(Family10hCpu, TheCoreItselfIsAskedWhatItCanDo) {
    StartProcessor("10h", "80000007=179");  // no hardware P-states
    EXPECT_EQ(m_Cpu.GetCurrentMultiplier(), 0.0);
    EXPECT_THAT(TakeTrace(), ElementsAre("SetThreadAffinity"));
}

}  // namespace
