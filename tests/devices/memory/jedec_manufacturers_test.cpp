// Manufacturers by number: which byte decides, and which numbers are nobody's.
#include "devices/memory/jedec_manufacturers.h"

#include <gtest/gtest.h>

#include <bit>
#include <set>
#include <vector>

#include "devices/memory/jedec_rows.h"

namespace {

using vxt::g_GetJedecManufacturers;
constexpr const char* kUnknown = "Unknown Manufacturer Code ID";

const char* g_Continued(std::vector<uint8_t> Bytes) { return g_GetJedecManufacturers().GetName(Bytes.data()); }
const char* g_Pair(uint8_t ucBank, uint8_t ucByte) {
    const uint8_t aucPair[] = {ucBank, ucByte};
    return g_GetJedecManufacturers().GetNameOfPair(aucPair);
}

// SPD of DDR and DDR2 spends a byte on each bank, and the seventh is the last that is looked at.
TEST(JedecManufacturers, TheFirstByteThatIsNoContinuationDecides) {
    EXPECT_STREQ(g_Continued({0xCE, 0x7F, 0, 0, 0, 0, 0}), "Samsung");
    EXPECT_STREQ(g_Continued({0x7F, 0x98, 0x7F, 0, 0, 0, 0}), "Kingston");
    EXPECT_EQ(g_Continued({0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x01, 0xFF}), g_Pair(6, 0x01));
    EXPECT_STREQ(g_Continued({0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x01}), kUnknown)
        << "kept: bank 8 is out of reach";
    EXPECT_STREQ(g_Continued({0x83, 0, 0, 0, 0, 0, 0}), "Fairchild");
    EXPECT_EQ(g_Continued({0x03, 0, 0, 0, 0, 0, 0}), nullptr) << "wrong parity";
}

TEST(JedecManufacturers, PairsReachAllEightBanks) {
    EXPECT_STREQ(g_Pair(1, 0x98), "Kingston");
    EXPECT_NE(g_Pair(7, 0x01), nullptr);
    EXPECT_STREQ(g_Pair(8, 0x01), kUnknown);
    EXPECT_STREQ(g_Pair(0xFF, 0x01), kUnknown);
    EXPECT_STREQ(g_Pair(0, 0x7F), kUnknown);
    EXPECT_EQ(g_Pair(0, 0x00), nullptr);
}

TEST(JedecManufacturers, EachBankHasItsCodesOnceUnderOddParity) {
    std::set<std::pair<uint8_t, uint8_t>> Keys;
    for (const vxt::CJedecRow& rRow : vxt::kJedecRows) {
        EXPECT_EQ(std::popcount(rRow.ucByte) % 2, 1) << rRow.pszName;
        EXPECT_TRUE(Keys.emplace(rRow.ucBank, rRow.ucByte).second) << rRow.pszName;
        EXPECT_STREQ(g_Pair(static_cast<uint8_t>(rRow.ucBank - 1), rRow.ucByte), rRow.pszName);
    }
    EXPECT_EQ(Keys.size(), 8u * 126);
}

}  // namespace
