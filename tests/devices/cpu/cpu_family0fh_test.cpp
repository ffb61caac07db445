// Family 0Fh where a row of cpu_traffic.txt does not suffice.
#include "devices/cpu/cpu_fixture.h"
#include "sim/models/fid_vid.h"
#include "sim/models/thermal.h"

namespace {

using ::testing::ElementsAre;
using vxttest::g_ProcessError;
using vxttest::kMiscControl;

struct FirstK8Cpu : vxttest::CCpuTest<vxt::CCorvel64CPU> {
    FirstK8Cpu() { StartProcessor("first K8"); }
};
struct RevisionFCpu : vxttest::CCpuTest<vxt::CCorvel64X2CPU> {
    RevisionFCpu() { StartProcessor("revision F"); }
};

TEST_F(RevisionFCpu, WaitsWithoutLimitUntilAReadFails) {
    Machine().Plug<vxtsim::CFidVid>(true).m_bStuck = true;
    System().m_RequestFaults = vxtsim::CFaultPlan::After(5000);
    EXPECT_FALSE(m_Cpu.SetCurrentMultiplier(5.0));
    EXPECT_EQ(TakeRequests().size(), 5000u);
    EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("bRetCode", "CCorvel64X2CPU::SetCurrentMultiplier"));
}

TEST_F(FirstK8Cpu, WithoutAReadingThereIsNoThermalOffset) {
    System().m_RequestFaults = vxtsim::CFaultPlan::After(0, vxtsim::EFault::kFail, true);
    EXPECT_EQ(m_Cpu.GetThermTrip(), nullptr);
    EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("bRetCode", "CCorvel64CPU::GetThermTrip"));
}

TEST_F(RevisionFCpu, SelectsItsOwnCoresSensorAndKeepsTheUnsignedTemperature) {
    auto& rSensors = Machine().Plug<vxtsim::CThermalSelect>();
    const struct {
        uint32_t uCore;
        int nCelsius;
        const char* pszWritten;
        double dCelsius;
    } kCases[] = {
        {0, 41, "020394A5", 41.0},
        {1, 38, "060394A5", 38.0},
        {2, 20, "020394A5", 20.0},  // the lowest bit of the index selects
        {0, 0, "020394A5", 0.0},
        {0, -1, "020394A5", 4294967295.0},
        {1, -49, "060394A5", 4294967247.0},
    };
    for (const auto& [uCore, nCelsius, pszWritten, dCelsius] : kCases) {
        ASSERT_TRUE(m_Cpu.Init(uCore));
        for (const uint32_t uAnyCore : {0u, 1u})
            rSensors.SetCelsius(uAnyCore, 0, 99), rSensors.SetCelsius(uAnyCore, 1, 99);
        rSensors.SetCelsius(uCore, 0, nCelsius);
        Machine().SetPciDword(kMiscControl, 0xE4, 0xA5000346);  // core 1, second sensor
        TakeTrace();
        const auto* const pdCelsius = static_cast<const double*>(m_Cpu.GetThermTrip());
        ASSERT_TRUE(pdCelsius);
        EXPECT_EQ(*pdCelsius, dCelsius) << uCore;
        EXPECT_THAT(TakeRequests(), ElementsAre("pcird 0:18.3 E4 4", std::string("pciwr 0:18.3 E4 4 ") + pszWritten,
                                                "pcird 0:18.3 E4 4"));
    }
}

}  // namespace
