// A search on a thread of its own, stopped and looked at from another.
#include <vxtapi/vxtapi.h>

#include <chrono>
#include <thread>

#include "firmware/acpi_table.h"
#include "support/simulated_pc.h"

namespace {

using namespace vxttest;
using namespace vxtapi;

struct CSystemTuneThreadsTest : CSimulatedPc {
    ~CSystemTuneThreadsTest() override {
        UnInitVXTAPI();
        vxt::g_GetACPITable().Clear();  // as a new process would find it
    }
};

TEST_F(CSystemTuneThreadsTest, AnyThreadMayLookAndStop) {
    ASSERT_TRUE(InitVXTAPI(false));
    CSystemTune& rTune = *GetPerformanceControl()->GetSystemTune();
    bool bFinished = true, bSecond = true;
    std::thread Search([&] { bFinished = rTune.StartTune(); });
    while (rTune.GetStatus() != kTuneRunning || rTune.GetReferenceClock() < 210) std::this_thread::yield();
    EXPECT_EQ(rTune.GetMultiplier(), 15);
    bSecond = rTune.StartTune();
    rTune.Stop();
    Search.join();
    EXPECT_FALSE(bSecond) << "one search at a time";
    EXPECT_FALSE(bFinished);
    EXPECT_EQ(rTune.GetStatus(), kTuneStopped);
    EXPECT_GE(rTune.GetReferenceClock(), 200);
}

}  // namespace
