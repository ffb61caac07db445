// The families' rows among themselves: what a new family's table can get wrong before any machine runs it.
#include <gtest/gtest.h>

#include <set>

#include "devices/memctl/memory_registers.h"

namespace {

using namespace vxt;
using namespace vxt::memory;

constexpr const CFamilyRules* kFamilies[] = {&kFirstK8Rules, &kRevisionFRules, &kFamily10hRules, &kFamily11hRules};

/// Claims a field's bits; those that somebody else has already are a mistake.
template <size_t N>
void g_Claim(const CRegisterField& rField, std::array<uint32_t, N>& rClaimed, const char* pszClass) {
    std::array<uint32_t, N> Mask{};
    rField.Set(Mask, rField.MaxCode());
    for (size_t i = 0; i < N; ++i) {
        EXPECT_EQ(rClaimed[i] & Mask[i], 0u) << pszClass << ", word " << i;
        rClaimed[i] |= Mask[i];
    }
}

TEST(MemoryRules, NoTwoFieldsShareABitInAnyLayout) {
    for (const CFamilyRules* pRules : kFamilies)
        for (uint32_t uLayout = 0; uLayout < 16; ++uLayout) {
            CWords Claimed{};
            for (const auto Rows : {pRules->Timing, pRules->Config})
                for (const CMemoryRow& rRow : Rows)
                    if (rRow.HasField()) g_Claim(rRow.Coding(uLayout).Field, Claimed, pRules->pszClass);
            for (const CFlagRow& rRow : pRules->Flags) g_Claim(rRow.Field, Claimed, pRules->pszClass);
            g_Claim(pRules->ChannelUsed, Claimed, pRules->pszClass);
            for (const CAdditionalRegister& rRegister : pRules->Additional) {
                std::array<uint32_t, 1> Word{};
                for (const CMemoryRow& rRow : rRegister.Rows)
                    g_Claim(rRow.Coding(uLayout).Field, Word, pRules->pszClass);
            }
        }
}

TEST(MemoryRules, EveryFieldLiesInARegisterThatIsReadBeforeAndEachSlotHasOneRow) {
    for (const CFamilyRules* pRules : kFamilies) {
        std::set<ESlot> Slots;
        const auto Check = [&](std::span<const CMemoryRow> Rows, std::span<const CBlock> Blocks) {
            CWords Read{};
            for (const CBlock Block : Blocks)
                for (uint32_t i = 0; i < Block.uWords; ++i) {
                    Read.at(Block.eFirst + i) = ~0u;
                    EXPECT_EQ(kRegisterOffsets[Block.eFirst + i], kRegisterOffsets[Block.eFirst] + 4 * i);
                }
            for (const CMemoryRow& rRow : Rows) {
                EXPECT_TRUE(Slots.insert(rRow.Slot()).second) << pRules->pszClass << ", slot " << int{rRow.Slot()};
                for (uint32_t uLayout = 0; uLayout < 16 && rRow.HasField(); ++uLayout) {
                    const CRegisterField& rField = rRow.Coding(uLayout).Field;
                    EXPECT_EQ(rField.Get(Read), rField.MaxCode()) << pRules->pszClass << ", slot " << int{rRow.Slot()};
                }
            }
        };
        Check(pRules->Timing, pRules->TimingBlocks);
        Check(pRules->Config, pRules->ConfigBlocks);
    }
}

TEST(MemoryRules, TheAdditionalDataOfTheChannelsDoNotMeet) {
    for (const CFamilyRules* pRules : kFamilies) {
        std::set<uint32_t> Indices, Slots;
        for (uint32_t uChannel = 0; uChannel < 2; ++uChannel)
            for (const CAdditionalRegister& rRegister : pRules->Additional) {
                const bool bNew = Indices.insert(rRegister.uIndex + uChannel * pRules->uAdditionalOfB).second;
                EXPECT_TRUE(bNew || pRules->RegisterSets() == 2) << pRules->pszClass << " " << rRegister.uIndex;
                for (const CMemoryRow& rRow : rRegister.Rows)
                    EXPECT_TRUE(Slots.insert(rRow.Slot() + uChannel * rRegister.uSlotsPerChannel).second)
                        << pRules->pszClass << ", slot " << int{rRow.Slot()};
            }
        EXPECT_TRUE(Slots.empty() || *Slots.rbegin() < kConfigSlots + sizeof(MemConfig) / 8);
    }
}

}  // namespace
