// The families' rows among themselves: what a new family's table can get wrong before any machine runs it.
#include <gtest/gtest.h>

#include <set>

#include "devices/memctl/memory_registers.h"

namespace {

using namespace vxt;
using namespace vxt::memory;

constexpr const CMemoryRules* kFamilies[] = {&kFirstK8Rules, &kRevisionFRules, &kFamily10hRules, &kFamily11hRules};

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
    for (const CMemoryRules* pRules : kFamilies)
        for (uint32_t uLayout = 0; uLayout < 16; ++uLayout) {
            CWords Claimed{};
            const auto Claim = [&](const auto& Rows) {
                for (const auto& rRow : Rows)
                    if (rRow.HasField()) g_Claim(rRow.Coding(uLayout).Field, Claimed, pRules->pszClass);
            };
            Claim(pRules->Timing), Claim(pRules->Config);
            for (const auto& rRow : pRules->Flags) g_Claim(rRow.Bit, Claimed, pRules->pszClass);
            g_Claim(pRules->ChannelUsed, Claimed, pRules->pszClass);
            for (const CAdditionalRegister& rRegister : pRules->Additional) {
                std::array<uint32_t, 1> Word{};
                for (const CConfigRow& rRow : rRegister.Rows)
                    g_Claim(rRow.Coding(uLayout).Field, Word, pRules->pszClass);
            }
        }
}

TEST(MemoryRules, EveryFieldLiesInARegisterThatIsReadBeforeAndEachNumberHasOneRow) {
    for (const CMemoryRules* pRules : kFamilies) {
        const MemTiming Timing{};
        const MemConfig Config{};
        std::set<const double*> Numbers;
        const auto Check = [&](const auto& Rows, const auto& rRecord, std::span<const CBlock> Blocks) {
            CWords Read{};
            for (const CBlock Block : Blocks)
                for (uint32_t i = 0; i < Block.uWords; ++i) {
                    Read.at(Block.eFirst + i) = ~0u;
                    EXPECT_EQ(kRegisterOffsets[Block.eFirst + i], kRegisterOffsets[Block.eFirst] + 4 * i);
                }
            for (const auto& rRow : Rows) {
                EXPECT_TRUE(Numbers.insert(&rRow.Number().In(rRecord)).second) << pRules->pszClass;
                for (uint32_t uLayout = 0; uLayout < 16 && rRow.HasField(); ++uLayout) {
                    const CRegisterField& rField = rRow.Coding(uLayout).Field;
                    EXPECT_EQ(rField.Get(Read), rField.MaxCode()) << pRules->pszClass << ", row " << &rRow - &Rows[0];
                }
            }
        };
        Check(pRules->Timing, Timing, pRules->TimingBlocks);
        Check(pRules->Config, Config, pRules->ConfigBlocks);
    }
}

TEST(MemoryRules, TheAdditionalDataOfTheChannelsDoNotMeet) {
    const MemConfig Config{};
    for (const CMemoryRules* pRules : kFamilies) {
        std::set<uint32_t> Indices;
        std::set<const double*> Numbers;
        for (uint32_t uChannel = 0; uChannel < 2; ++uChannel)
            for (const CAdditionalRegister& rRegister : pRules->Additional) {
                const bool bNew = Indices.insert(rRegister.uIndex + uChannel * pRules->uAdditionalOfB).second;
                EXPECT_TRUE(bNew || pRules->uRegisterSets == 2) << pRules->pszClass << " " << rRegister.uIndex;
                for (const CConfigRow& rRow : rRegister.Rows) {
                    const auto Number = rRow.Number().Further(uChannel * rRegister.uNumbersPerChannel);
                    EXPECT_TRUE(Numbers.insert(&Number.In(Config)).second)
                        << pRules->pszClass << " " << rRegister.uIndex;
                }
            }
    }
}

}  // namespace
