// Reference clock, core clock and usage.
#include "devices/cpu/cpu_fixture.h"
#include "sim/models/pm_timer.h"
#include "support/devices.h"

namespace {

using ::testing::ElementsAre;
using vxttest::g_ProcessError;
using vxttest::Lines;

constexpr uint16_t kPmTimerPort = 0x0808;  // of the machine's FADT

struct CpuClock : vxttest::CSimulatedPc {
    vxt::CBrevikCPU m_Cpu = g_Make<vxt::CBrevikCPU>();

    CpuClock() { Restart(); }
    ~CpuClock() override {
        System().StopFailing();
        m_Cpu.UnInit();
    }
    void Restart(double dReferenceMHz = 200.0) {
        m_Cpu.UnInit();
        Start(kDefaultMachine, [&](auto& rMachine) { rMachine.dReferenceMHz = dReferenceMHz; });
        ASSERT_TRUE(StartDriver() && m_Cpu.Init(0));
        TakeTrace();
    }
};

TEST_F(CpuClock, MeasuresTheReferenceClockThatTheMachineHas) {
    for (const double dReferenceMHz : {200.0, 133.0, 251.5}) {
        Restart(dReferenceMHz);
        EXPECT_NEAR(m_Cpu.MeasureReferenceClock(), dReferenceMHz, dReferenceMHz / 500);
        EXPECT_NEAR(m_Cpu.GetCurrentClock(), 15.0 * dReferenceMHz, 15.0 * dReferenceMHz / 500);
    }
}

TEST_F(CpuClock, SurvivesOneWrapOfTheTimerAnyTicksBeforeTheEnd) {
    auto& rTimer = Machine().Plug<vxtsim::CPmTimer>(kPmTimerPort);
    for (const uint32_t uTicks : {1u, 30u, 10'000u, 19'990u, 20'010u, 20'020u}) {
        rTimer.WrapAfter(uTicks);
        EXPECT_NEAR(m_Cpu.MeasureReferenceClock(), 200.0, 0.4) << uTicks;
    }
}

/// Gives the prepared counts one after the other, then the last for ever.
struct CScriptedTimer : vxtsim::CSimModel {
    explicit CScriptedTimer(vxtsim::CSimMachine&, std::vector<uint32_t> Counts) : m_Counts(std::move(Counts)) {}
    bool ReadPort(uint16_t usPort, uint32_t, uint32_t& ruValue) override {
        if (usPort != kPmTimerPort) return false;
        ruValue = m_Counts[std::min(m_uNext++, m_Counts.size() - 1)];
        return true;
    }
    std::vector<uint32_t> m_Counts;
    size_t m_uNext = 0;
};

TEST_F(CpuClock, CountsTicksOf24BitsAndAWrapOneShort) {
    // The local APIC counts 5 us a request at 200 MHz / 8; what is measured follows from the counts alone.
    const struct {
        const char* pszCase;
        std::vector<uint32_t> Counts;
        uint32_t uReads;
        double dTicks;  ///< that the result was divided by
    } kCases[] = {
        {"straight", {1000, 20999, 21000, 22000}, 4, 21000},
        {"upper byte ignored", {0xFF000000 + 1000, 0x12000000 + 21000, 0x34000000 + 22000}, 3, 21000},
        {"wrapped: FFFFFFh are added", {0xFFFFF0, 19984, 19985, 20000}, 4, 20000 + 0xFFFFFF - 0xFFFFF0},
        {"wrapped at the last read", {0xFF0000, 0xFFFFFF, 0x10}, 3, 0x10 + 0xFFFFFF - 0xFF0000},
    };
    for (const auto& [pszCase, Counts, uReads, dTicks] : kCases) {
        SCOPED_TRACE(pszCase);
        Restart();
        Machine().Plug<CScriptedTimer>(Counts);
        TakeTrace();
        const double dMeasured = m_Cpu.MeasureReferenceClock();
        EXPECT_EQ(TakeTrace(), Lines(uReads, "in 4 0808"));
        const double dCounts = (uReads - 1) * 5.0 * 200.0 / 8;  // the last read comes after the second count
        EXPECT_NEAR(dMeasured, dCounts * 3.579545021057129 / dTicks * 8, 1e-9);
    }
}

TEST_F(CpuClock, GivesUpOnATimerThatStandsStill) {
    Machine().Plug<CScriptedTimer>(std::vector<uint32_t>{0x123456});
    EXPECT_EQ(m_Cpu.MeasureReferenceClock(), 0.0);
    EXPECT_EQ(m_Log.TakeErrors().size(), 1u);
    EXPECT_EQ(m_Cpu.GetCurrentClock(), 0.0f);
}

TEST_F(CpuClock, LeavesTheApicTimerAsItWasAlsoAfterAFailure) {
    constexpr uint64_t kApic = 0xFEE00000;
    const auto Register = [this](uint32_t uOffset) {
        uint32_t uValue = 0;
        Machine().ReadMemory(kApic + uOffset, {reinterpret_cast<uint8_t*>(&uValue), sizeof(uValue)});
        return uValue;
    };
    const auto Write = [this](uint32_t uOffset, uint32_t uValue) {
        Machine().WriteMemory(kApic + uOffset, {reinterpret_cast<const uint8_t*>(&uValue), sizeof(uValue)});
    };
    Write(0x320, 0x000300EF), Write(0x3E0, 0x0B);
    uint64_t ullCalls = 0;
    for (uint64_t ullGood : {0, 1, 2, 500, 100'000}) {
        System().FailAfter(ullGood);
        const bool bMeasured = m_Cpu.MeasureReferenceClock() > 0.0;
        System().StopFailing();
        EXPECT_EQ(bMeasured, !System().HasFailed()) << ullGood;
        EXPECT_EQ(Register(0x320), 0x000300EFu) << ullGood;
        EXPECT_EQ(Register(0x3E0), 0x0Bu) << ullGood;
        ullCalls += bMeasured;
    }
    EXPECT_EQ(ullCalls, 1u);
    EXPECT_EQ(m_Log.TakeErrors().back(), g_ProcessError("bRetCode", "CCPU::MeasureReferenceClock"));
}

TEST_F(CpuClock, WithoutTheTimersThereIsNoClock) {
    EXPECT_TRUE(m_Cpu.UnInit());
    TakeTrace();
    EXPECT_EQ(m_Cpu.MeasureReferenceClock(), 0.0);
    EXPECT_EQ(TakeTrace(), Lines{});
}

TEST_F(CpuClock, TheCoreThatIsMeasuredIsTheOneThatIsPinned) {
    ASSERT_TRUE(m_Cpu.Init(3));
    TakeTrace();
    EXPECT_GT(m_Cpu.GetCurrentClock(), 2990.0f);
    const Lines Trace = TakeTrace();
    EXPECT_EQ(Trace[0], "SetThreadAffinity");
    EXPECT_EQ(Trace[1], "rdmsr 3 C0010071");
    EXPECT_EQ(Trace[2], "in 4 0808");
}

TEST_F(CpuClock, UsageIsTheShareOfTimeThatWasNotIdleSinceThePreviousCall) {
    constexpr uint64_t kMillisecond = 1'000'000;
    const struct {
        double dLoad, dUsage;
        uint64_t ullMilliseconds;
    } kCases[] = {{0.0, 0.5, 1000}, {0.25, 25.5, 1000}, {0.6, 60.5, 10}, {1.0, 100.5, 250}};  // half a percent is added
    Machine().Advance(kMillisecond - Machine().Now() % kMillisecond);  // whole milliseconds from here
    for (const auto& [dLoad, dUsage, ullMilliseconds] : kCases) {
        Machine().SetLoad(0, dLoad), Machine().SetLoad(1, 0.9);
        m_Cpu.GetCurrentUsage();
        Machine().Advance(ullMilliseconds * kMillisecond);
        EXPECT_NEAR(m_Cpu.GetCurrentUsage(), dUsage, 1e-6);
        EXPECT_EQ(m_Cpu.GetCurrentUsage(), 0.0) << "no time has passed";
    }
    Machine().SetLoad(0, 0.0);  // the idle time leaps ahead of the clock
    Machine().Advance(kMillisecond);
    EXPECT_EQ(m_Cpu.GetCurrentUsage(), 0.0);

    Machine().SetLoad(0, 0.25);
    Machine().Advance((uint64_t{1} << 32) * kMillisecond - 500 * kMillisecond - Machine().Now());
    m_Cpu.GetCurrentUsage();
    Machine().Advance(1000 * kMillisecond);
    EXPECT_NEAR(m_Cpu.GetCurrentUsage(), 25.5, 1e-6) << "the millisecond count has wrapped";
}

TEST_F(CpuClock, EachCoreHasItsOwnUsage) {
    m_Cpu.UnInit();
    Start(kDefaultMachine, [](auto& rMachine) { rMachine.Loads = {10, 20, 75}; });
    ASSERT_TRUE(StartDriver());
    for (const auto& [uCore, dUsage] : {std::pair{2u, 75.5}, {3u, 0.5}}) {
        ASSERT_TRUE(m_Cpu.Init(uCore)) << uCore;
        m_Cpu.GetCurrentUsage();
        Machine().Advance(1'000'000'000);
        EXPECT_NEAR(m_Cpu.GetCurrentUsage(), dUsage, 0.1) << uCore;
        m_Cpu.UnInit();
    }
}

TEST_F(CpuClock, OnlyThirtyTwoProcessorsHaveAUsage) {
    m_Cpu.UnInit();
    Start(kDefaultMachine, [](auto& rMachine) { rMachine.uCores = 40; });
    ASSERT_TRUE(StartDriver() && m_Cpu.Init(32));
    Machine().Advance(1'000'000'000);
    EXPECT_EQ(m_Cpu.GetCurrentUsage(), 0.0);
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_ProcessError("bRetCode", "CCPU::GetCurrentUsage")));
}

}  // namespace
