// Registers behind an index port and a data port.
#include "hw/port_pair.h"

#include <gmock/gmock.h>

#include <array>

#include "support/simulated_pc.h"

namespace {

constexpr uint16_t kIndex = 0x2E;

struct CIndexedChip final : vxtsim::CSimModel {
    explicit CIndexedChip(vxtsim::CSimMachine&) {}
    bool ReadPort(uint16_t usPort, uint32_t, uint32_t& ruValue) override {
        if (usPort != kIndex + 1) return false;
        ruValue = m_Registers[m_ucSelected];
        return true;
    }
    bool WritePort(uint16_t usPort, uint32_t, uint32_t uValue) override {
        if (usPort != kIndex && usPort != kIndex + 1) return false;
        (usPort == kIndex ? m_ucSelected : m_Registers[m_ucSelected]) = static_cast<uint8_t>(uValue);
        return true;
    }
    std::array<uint8_t, 256> m_Registers{};
    uint8_t m_ucSelected = 0;
};

struct CPortPairTest : vxttest::CSimulatedPc {};

TEST_F(CPortPairTest, SelectsBeforeEachByteAndLeavesTheNumberAloneWhenOneFails) {
    ASSERT_TRUE(StartDriver());
    auto& rChip = Machine().Plug<CIndexedChip>();
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
