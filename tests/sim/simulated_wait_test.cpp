// The export that lets virtual time pass for a host that waits by itself.
#include "platform/simulated/simulated_system.h"
#include "sim/sim_client.h"

extern "C" void VXTSimulatedWait(uint32_t uMilliseconds);

namespace vxt::platform::simulated {
namespace {

TEST(SimulatedWait, LetsFansTurn) {
    g_Restart(vxtsim::g_Embedded("family10h-ddr3"));
    vxtsim::CSimMachine& rMachine = g_GetMachine();
    const auto Select = [&](uint8_t ucRegister) { rMachine.WritePort(0x295, 1, ucRegister); };
    Select(0xA3), rMachine.WritePort(0x296, 1, 0);  // duty of the first fan
    Select(0xA0);
    EXPECT_EQ(rMachine.ReadPort(0x296, 1), 0x02u);
    const uint64_t ullBefore = rMachine.Now();
    VXTSimulatedWait(30'000);
    EXPECT_EQ(rMachine.Now() - ullBefore, 30'000'000'000u);
    EXPECT_EQ(rMachine.ReadPort(0x296, 1), 0x0Fu) << "stands still";
}

}  // namespace
}  // namespace vxt::platform::simulated
