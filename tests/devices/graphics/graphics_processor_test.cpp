// The graphics processor over display drivers that answer, and those that do not.
#include "devices/graphics/graphics_processor.h"

#include "sim/models/display_driver.h"
#include "support/simulated_pc.h"

namespace {

struct Graphics : vxttest::CSimulatedPc {
    void StartWith(std::map<uint32_t, vxtsim::CDisplayAdapter> Displays) {
        m_Gpu.UnInit();
        Start(kDefaultMachine, [&](vxtsim::CMachineDescription& rMachine) { rMachine.Displays = std::move(Displays); });
    }
    static vxtsim::CDisplayAdapter Adapter(const char* pszName, uint32_t uHighest) {
        return {.sName = pszName,
                .sId = {},
                .uOutputs = 2,
                .bAnswers = true,
                .bIntegrated = true,
                .uClock = 500'000,
                .uLowest = uHighest ? 300'000u : 0,
                .uHighest = uHighest,
                .uStep = uHighest ? 5'000u : 0};
    }
    vxt::CNYXGPU m_Gpu;
};

TEST_F(Graphics, AnAdapterWhoseDriverDoesNotAnswerIsNoDeviceAndOneWithTwoDisplaysIsOne) {
    vxtsim::CDisplayAdapter Mute = Adapter("mute", 0);
    Mute.bAnswers = false;
    StartWith({{0, Mute}, {1, Adapter("first", 700'000)}, {2, Adapter("second", 0)}});
    ASSERT_TRUE(m_Gpu.Init(0));
    EXPECT_STREQ(m_Gpu.GetModel(), L"first");
    ASSERT_TRUE(m_Gpu.Init(1));
    EXPECT_STREQ(m_Gpu.GetModel(), L"second");
    vxtapi::EngineClockLimits Limits{1, 1, 1};
    EXPECT_FALSE(m_Gpu.GetEngineClockLimits(&Limits));
    EXPECT_FALSE(m_Gpu.SetEngineClock(500)) << "nobody knows what it stands";
    EXPECT_FALSE(m_Gpu.Init(2));
    EXPECT_TRUE(m_Gpu.UnInit());
    EXPECT_EQ(m_Gpu.GetEngineClock(), 0.0) << "nothing is open any more";
}

TEST_F(Graphics, AClockIsSetWithinTheLimitsAndReadBack) {
    StartWith({{0, Adapter("first", 700'000)}});
    ASSERT_TRUE(m_Gpu.Init(0));
    EXPECT_TRUE(m_Gpu.IsIntegrated());
    EXPECT_TRUE(m_Gpu.SetEngineClock(612.5));
    EXPECT_EQ(m_Gpu.GetEngineClock(), 612.5);
    for (const double dClock : {299.9, 700.1, -1.0, 1e30, std::numeric_limits<double>::quiet_NaN()}) {
        TakeTrace();
        EXPECT_FALSE(m_Gpu.SetEngineClock(dClock)) << dClock;
        EXPECT_THAT(TakeTrace(), testing::IsEmpty()) << "nothing is asked of the driver";
    }
    vxtsim::CDisplayAdapter Stuck = Adapter("stuck", 700'000);
    Stuck.bStuck = true;
    StartWith({{0, Stuck}});
    ASSERT_TRUE(m_Gpu.Init(0));
    EXPECT_FALSE(m_Gpu.SetEngineClock(600)) << "it reads back as before";
}

TEST_F(Graphics, AnAnswerThatMakesNoSenseIsNone) {
    vxtsim::CDisplayAdapter Turned = Adapter("limits turned round", 200'000), Fast = Adapter("fast", 4'000'000'000);
    vxtsim::CDisplayAdapter Steps = Adapter("steps", 700'000);
    Steps.uStep = 400'001;
    StartWith({{0, Turned}, {1, Fast}, {2, Steps}});
    EXPECT_FALSE(m_Gpu.Init(0));
    vxtsim::CDisplayAdapter Nonsense = Adapter("clock", 700'000);
    Nonsense.uClock = 10'000'001;
    StartWith({{0, Nonsense}});
    ASSERT_TRUE(m_Gpu.Init(0));
    EXPECT_EQ(m_Gpu.GetEngineClock(), 0.0);
}

}  // namespace
