// Registers behind an index port and a data port.
#include "hw/port_pair.h"

#include <gmock/gmock.h>

#include "support/register_chip.h"
#include "support/simulated_pc.h"

namespace {

constexpr uint16_t kIndex = 0x2E;

struct CPortPairTest : vxttest::CSimulatedPc {};

TEST_F(CPortPairTest, SelectsBeforeEachByteAndLeavesTheNumberAloneWhenOneFails) {
    ASSERT_TRUE(StartDriver());
    auto& rChip = Machine().Plug<vxttest::CRegisterChip>(kIndex);
    rChip.m_Registers[0x21] = 0x40;
    const vxt::CPortPair Pair(vxt::g_GetDriverHandler(), kIndex);
    uint16_t usWord = 0;
    EXPECT_TRUE(Pair.Write(0x20, 0x1C) && Pair.ReadWord(0x20, usWord));
    EXPECT_EQ(usWord, 0x1C40);
    System().FailAfter(3);
    EXPECT_FALSE(Pair.ReadWord(0x21, usWord));
    EXPECT_EQ(usWord, 0x1C40);
}

}  // namespace
