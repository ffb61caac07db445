// The processors of the embedded machines against what their dumps say when decoded elsewhere.
#include "devices/cpu/cpu_fixture.h"

namespace {

using vxtapi::CPstate;

struct CState {
    double dMHz, dVolts;  ///< clock in whole hundreds
};
struct CMachineRow {
    const char* pszMachine;
    std::unique_ptr<vxt::CFamilyCPU> (*pCreate)();
    uint32_t uCores;
    double dReferenceMHz, dMultiplier, dVolts, dMaximum, dStartVolts, dRampVolts;
    bool bLimited;
    std::vector<CState> States;
};
template <class TCpu> std::unique_ptr<vxt::CFamilyCPU> g_Create() {
    return std::unique_ptr<TCpu>(new TCpu(g_Make<TCpu>()));
}

// Sources: multipliers and clocks are the rated ones that the tools printed beside each published dump (10.0 for
// 00020FB1, 10.5 for 00060FB1, 11.0 for 00100F22, 15.0 for 00100F42, 1050 MHz at 0.95 V and the limits 1.2 V and 0.75 V
// for family 11h); the voltages are the codes in the dumps looked up by hand in the guides' VID tables.
// clang-format off
const CMachineRow kRows[] = {  // cores, reference, multiplier, volts, rated, start and ramp volts, limited, P-states
    {"k8-first", g_Create<vxt::CCorvel64CPU>, 1, 201.0, 10.0, 1.35, 10.0, 1.35, 1.4, true, {}},
    {"k8-revf-dual", g_Create<vxt::CCorvel64X2CPU>, 2, 200.0, 10.5, 1.25, 10.5, 1.1, 1.3, true, {}},
    {"family10h-ddr2", g_Create<vxt::CBrevikCPU>, 4, 200.0, 11.0, 1.25, 11.0, 1.05, 0.0, true,
     {{2200, 1.25}, {1100, 1.05}}},
    {"family10h-ddr3", g_Create<vxt::CBrevikCPU>, 4, 200.0, 15.0, 1.35, 15.0, 1.0, 0.0, false,
     {{3000, 1.35}, {2300, 1.25}, {1800, 1.15}, {800, 1.0}}},
    // The number of the start P-state is read from the frequency ID, so an empty definition tells the start voltage.
    {"family11h-mobile", g_Create<vxt::CTalvorCPU>, 2, 200.0, 10.5, 1.2, 0.0, 1.55, 0.0, false,
     {{2100, 1.2}, {1000, 0.95}, {500, 0.75}}},
};
// clang-format on

struct CpuMachines : vxttest::CSimulatedPc, ::testing::WithParamInterface<size_t> {};

TEST_P(CpuMachines, EveryCoreReadsAsTheDumpDoes) {
    const CMachineRow& rRow = kRows[GetParam()];
    Start(rRow.pszMachine);
    ASSERT_TRUE(StartDriver());
    for (uint32_t uCore = 0; uCore < rRow.uCores; ++uCore) {
        SCOPED_TRACE(uCore);
        const auto pCpu = rRow.pCreate();
        ASSERT_TRUE(pCpu->Init(uCore));
        EXPECT_EQ(pCpu->GetCurrentMultiplier(), rRow.dMultiplier);
        EXPECT_DOUBLE_EQ(pCpu->GetCurrentVoltage(), rRow.dVolts);
        EXPECT_EQ(pCpu->GetMaxMultiplier(), rRow.dMaximum);
        EXPECT_DOUBLE_EQ(pCpu->GetStartVoltage(), rRow.dStartVolts);
        EXPECT_DOUBLE_EQ(pCpu->GetMaxRampVoltage(), rRow.dRampVolts);
        EXPECT_EQ(pCpu->IsMultiplierLimited(), rRow.bLimited);
        EXPECT_NEAR(pCpu->GetCurrentClock(), rRow.dMultiplier * rRow.dReferenceMHz, 5.0);
        CPstate Pstate;
        for (uint32_t i = 0; i < rRow.States.size(); ++i) {
            ASSERT_TRUE(pCpu->GetPstate(i, &Pstate)) << i;
            EXPECT_EQ(Pstate.dCoreFrequency, rRow.States[i].dMHz) << i;
            EXPECT_DOUBLE_EQ(Pstate.dCoreVoltage, rRow.States[i].dVolts) << i;
        }
        EXPECT_FALSE(pCpu->GetPstate(static_cast<uint32_t>(rRow.States.size()), &Pstate));
        EXPECT_TRUE(pCpu->UnInit());
    }
    EXPECT_FALSE(rRow.pCreate()->Init(rRow.uCores)) << "one core too many";
}

TEST_P(CpuMachines, ASetMultiplierIsTakenByThatCoreAlone) {
    const CMachineRow& rRow = kRows[GetParam()];
    Start(rRow.pszMachine);
    ASSERT_TRUE(StartDriver());
    const uint32_t uLast = rRow.uCores - 1;
    const auto pFirst = rRow.pCreate(), pLast = rRow.pCreate();
    ASSERT_TRUE(pFirst->Init(0) && pLast->Init(uLast));
    EXPECT_TRUE(pLast->SetCurrentMultiplier(9.0));
    Machine().Advance(1'000'000);  // families that do not wait
    EXPECT_EQ(pLast->GetCurrentMultiplier(), 9.0);
    EXPECT_NEAR(pLast->GetCurrentClock(), 9.0 * rRow.dReferenceMHz, 5.0);
    EXPECT_EQ(pFirst->GetCurrentMultiplier(), uLast ? rRow.dMultiplier : 9.0);
    EXPECT_TRUE(pFirst->UnInit() && pLast->UnInit());
}

INSTANTIATE_TEST_SUITE_P(Embedded, CpuMachines, ::testing::Range<size_t>(0, std::size(kRows)), [](const auto& rInfo) {
    std::string sName = kRows[rInfo.param].pszMachine;
    std::ranges::replace(sName, '-', '_');
    return sName;
});

}  // namespace
