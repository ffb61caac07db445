// The test center under two controllers at once, with threads that report all the time.
#include <vxtapi/vxtapi.h>

#include <random>
#include <thread>

#include "api/log/log.h"
#include "bench/test_center.h"
#include "devices/device_list.h"
#include "firmware/acpi_table.h"
#include "hw/driver_handler.h"
#include "support/simulated_pc.h"

namespace {

using namespace vxtapi;

/// Ends a pass at once when it is asked to, and reports meanwhile.
struct CReportingTestCase final : CTestCase {
    uint32_t GetKind() override { return 1000; }
    uint32_t Run(TestErrorCallback pReportError, TestResultCallback pReportResult) override {
        for (uint32_t u = 0; u < 20; ++u) {
            pReportError(this, u);
            pReportResult(this, u);
        }
        return 20;
    }
    void Stop() override {}
    void Destroy() override { delete this; }
};

TEST(CTestCenterThreads, TwoControllersInAnyOrderFindNoRaceAndLeaveNoThread) {
    constexpr int kActions = 300;  // a long run: --gtest_repeat=10
    vxttest::CLogCapture Capture;
    vxt::platform::simulated::g_Restart(vxttest::CSimulatedPc::Describe(vxttest::CSimulatedPc::kDefaultMachine));
    vxt::CTestCenter& rCenter = vxt::g_GetTestCenter();
    const auto Add = [&] {
        if (auto* const pTestCase = new CReportingTestCase; !rCenter.AddTestCase(pTestCase, 3, 0)) delete pTestCase;
    };
    std::atomic<int> nFetched = 0;
    const std::function<void()> Actions[] = {
        [&] { rCenter.Start(); },
        [&] { rCenter.StartAll(); },
        [&] { rCenter.Stop(); },
        [&] { rCenter.Halt(); },
        [&] { rCenter.Clear(); },
        Add,
        Add,
        Add,
        [&] { rCenter.SetTestCaseRepeat(0, kRepeatUntilStopped); },
        [&] { rCenter.RunTestCase(rCenter.FindTestCase(1000, 0)); },
        [&] { rCenter.StopTestCase(rCenter.FindTestCase(1000, 0)); },
        [&] { nFetched += rCenter.GetNextError() != nullptr; },
        [&] { nFetched += rCenter.GetNextResult() != nullptr; },
        [&] { (void)rCenter.IsRunning(); },
    };
    {
        std::vector<std::jthread> Controllers;
        for (const uint32_t uSeed : {1u, 2u})
            Controllers.emplace_back([&, uSeed] {
                std::minstd_rand Random(uSeed);
                for (int i = 0; i < kActions; ++i) Actions[Random() % std::size(Actions)]();
            });
    }
    rCenter.UnInit();
    EXPECT_GT(nFetched, 0);
    EXPECT_FALSE(rCenter.IsRunning());
    EXPECT_EQ(rCenter.GetTestCaseCount(), 0u);
    EXPECT_EQ(rCenter.GetNextError(), nullptr);
}

TEST(CTestCenterThreads, TheLibrarysOwnTestCasesShareTablesAndThePcWithTheirHost) {
    vxttest::CLogCapture Capture;
    auto Description = vxttest::CSimulatedPc::Describe(vxttest::CSimulatedPc::kDefaultMachine);
    Description.uMaxCoreClock = 1000;  // every core errs
    vxt::platform::simulated::g_Restart(std::move(Description));
    ASSERT_TRUE(vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable()));
    ASSERT_TRUE(vxt::g_GetDeviceManager().Init(nullptr));
    vxt::CTestCenter& rCenter = vxt::g_GetTestCenter();
    ASSERT_TRUE(rCenter.Init(vxt::g_GetDeviceManager()));
    auto* const pCpu = static_cast<CCPU*>(vxt::g_GetDeviceManager().GetDevice(kDeviceCpu, 1));
    rCenter.Start();
    for (uint32_t uErrors = 0; uErrors < 20;) {
        EXPECT_GT(pCpu->GetCurrentMultiplier(), 0);
        uErrors += rCenter.GetNextError() != nullptr;
    }
    rCenter.UnInit();
    vxt::g_GetDeviceManager().UnInit();
    vxt::g_GetDriverHandler().UnInit();
}

}  // namespace
