// Two users of the driver that start and stop all the time.
#include <atomic>
#include <thread>

#include "firmware/acpi_table.h"
#include "hw/driver_handler.h"
#include "support/simulated_pc.h"

namespace {

// One process here, so two users of one system stand for two processes: each has its own handles and counts as one.
TEST(CServiceTurns, UsersThatStartAndStopAllTheTimeDoNotDisturbEachOther) {
    constexpr int kRounds = 50;  // a long run: --gtest_repeat=10
    vxt::platform::simulated::g_Restart(vxttest::CSimulatedPc::Describe(vxttest::CSimulatedPc::kDefaultMachine));
    auto& rSystem = vxt::platform::simulated::g_GetSystem();
    rSystem.m_uStopQueries = 2;
    std::atomic<int> nGood = 0;
    {
        std::vector<std::jthread> Users;
        for (int nUser = 0; nUser < 2; ++nUser)
            Users.emplace_back([&] {
                for (int nRound = 0; nRound < kRounds; ++nRound) {
                    vxt::CDriverHandler Handler;
                    vxt::CACPITable Tables(Handler);
                    uint32_t uLow = 0, uHigh = 0;
                    if (Handler.Init(Tables) && Handler.RDMSR(0xC0010071, uLow, uHigh)) ++nGood;
                    Handler.UnInit();
                }
            });
    }
    EXPECT_EQ(nGood, 2 * kRounds);
    EXPECT_TRUE(rSystem.m_Services.empty());
    EXPECT_EQ(rSystem.m_Semaphores.at(L"Global\\VXTDriverSemaphore").nCount, 10'000);
}

}  // namespace
