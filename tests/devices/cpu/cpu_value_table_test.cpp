// Register fields and value tables: the kit under every processor, memory controller and link.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "devices/cpu/cpu_registers.h"
#include "registers/value_table.h"

namespace {

using ::testing::ElementsAre;
using namespace vxt;
using namespace vxt::cpu;

constexpr double kClocks[] = {kReserved, 3, 4, kReserved, 5.5, kEndOfTable};
constexpr double kNothing[] = {kEndOfTable};
constexpr CValueTable kTable(kClocks), kEmpty(kNothing);

TEST(CValueTable, DecodesEveryCodeAndNeverReadsOutsideTheTable) {
    const struct {
        uint32_t uCode;
        double dValue;
    } kCases[] = {{0, -1.0}, {1, 3}, {2, 4}, {3, -1.0}, {4, 5.5}, {5, -1.0}, {0xFFFFFFFF, -1.0}};
    for (const auto& [uCode, dValue] : kCases) EXPECT_EQ(kTable.Decode(uCode), dValue) << uCode;
    EXPECT_EQ(kEmpty.Decode(0), -1.0);
}

TEST(CValueTable, EncodesTheFirstEntryInsideTheTolerance) {
    const double dNan = std::numeric_limits<double>::quiet_NaN(), dInfinity = std::numeric_limits<double>::infinity();
    const struct {
        double dValue, dTolerance;
        std::optional<uint32_t> uCode;
    } kCases[] = {
        {3, 1e-5, 1},     {3.000009, 1e-5, 1},   {3.00002, 1e-5, {}}, {3.5, 0.6, 1},  // 4 is as near, 3 comes first
        {4.5, 0.6, 2},    {5, 0.5, {}},          {-1.0, 1e-5, 0},     {-2.0, 1e-5, {}},
        {dNan, 1e-5, {}}, {dInfinity, 1e-5, {}},
    };
    for (const auto& [dValue, dTolerance, uCode] : kCases)
        EXPECT_EQ(kTable.Encode(dValue, dTolerance), uCode) << dValue;
    EXPECT_EQ(kEmpty.Encode(-2.0, 1e-5), std::nullopt);
}

TEST(CValueTable, ListsTheLegalValuesOrNothingWhenTheyDoNotFit) {
    std::array<double, 3> adValues{};
    uint32_t uCount = 99;
    EXPECT_FALSE(kTable.List(std::span(adValues).first(2), uCount));
    EXPECT_EQ(uCount, 99u);
    EXPECT_EQ(adValues[0], 0.0);
    EXPECT_TRUE(kTable.List(adValues, uCount));
    EXPECT_EQ(uCount, 3u);
    EXPECT_THAT(adValues, ElementsAre(3, 4, 5.5));
    EXPECT_TRUE(kEmpty.List({}, uCount));
    EXPECT_EQ(uCount, 0u);
}

TEST(CRegisterField, ReadsAndWritesItsBitsAndNoOthers) {
    // Both parts of a split field, the upper half of a wide register, a whole word.
    constexpr struct {
        const char* pszCase;
        CRegisterField Field;
        uint32_t uMaxCode;
        CMsrWords Mask;
    } kCases[] = {
        {"one part", {0, CBitField(6, 4)}, 7, {0x70, 0}},
        {"two words", {0, CBitField(11, 10), 1, CBitField(9, 8)}, 15, {0xC00, 0x300}},
        {"two places of one word", {1, CBitField(3, 0), 1, CBitField(12, 12)}, 31, {0, 0x100F}},
        {"wide register", g_WideBits(41, 40), 3, {0, 0x300}},
        {"top bit", g_WideBits(63, 63), 1, {0, 0x80000000}},
        {"whole word", {0, CBitField(31, 0)}, 0xFFFFFFFF, {0xFFFFFFFF, 0}},
    };
    for (const auto& [pszCase, Field, uMaxCode, Mask] : kCases) {
        SCOPED_TRACE(pszCase);
        EXPECT_EQ(Field.MaxCode(), uMaxCode);
        for (const CMsrWords& rBefore :
             {CMsrWords{0, 0}, CMsrWords{0xFFFFFFFF, 0xFFFFFFFF}, CMsrWords{0xA5C3F00F, 0x12345678}})
            for (const uint32_t uCode : {0u, 1u, uMaxCode >> 1, uMaxCode, 0xFFFFFFFFu}) {
                CMsrWords After = rBefore;
                Field.Set(After, uCode);
                EXPECT_EQ(Field.Get(After), uCode & uMaxCode);
                for (size_t i = 0; i < 2; ++i) EXPECT_EQ(After[i] & ~Mask[i], rBefore[i] & ~Mask[i]);
            }
    }
    CMsrWords Words{};
    kCases[1].Field.Set(Words, 0b1001);
    EXPECT_EQ(Words, (CMsrWords{0b01 << 10, 0b10 << 8})) << "the second part holds the high bits";
}

// Pairs that independent tools printed for real processors.
TEST(ProcessorVoltages, AgreeWithWhatOtherToolsPrint) {
    const struct {
        const CValueTable* pTable;
        uint32_t uVid;
        double dVolts;
    } kCases[] = {
        {&kCofVidTable, 10, 1.425},   {&kCofVidTable, 20, 1.3},     {&kCofVidTable, 22, 1.275},
        {&kCofVidTable, 26, 1.225},   {&kCofVidTable, 30, 1.175},   {&kCofVidTable, 28, 1.2},
        {&kCofVidTable, 48, 0.95},    {&kCofVidTable, 54, 0.875},   {&kCofVidTable, 64, 0.75},
        {&kCofVidTable, 123, 0.0125}, {&kCofVidTable, 124, 0.0},    {&kCofVidTable, 127, 0.0},
        {&kFidVidTable, 0x00, 1.55},  {&kFidVidTable, 0x04, 1.45},  {&kFidVidTable, 0x06, 1.4},
        {&kFidVidTable, 0x16, 1.0},   {&kFidVidTable, 0x1F, 0.775}, {&kFidVidTable, 0x20, 0.7625},
        {&kFidVidTable, 0x3F, 0.375}, {&kFidTable, 0x00, 4.0},      {&kFidTable, 0x02, 5.0},
        {&kFidTable, 0x0E, 11.0},     {&kFidTable, 0x15, 14.5},     {&kFidTable, 0x3F, 35.5},
    };
    for (const auto& [pTable, uVid, dVolts] : kCases) EXPECT_DOUBLE_EQ(pTable->Decode(uVid), dVolts) << uVid;
}

TEST(ProcessorVoltages, EveryCodeOfFamilies10hAnd11hComesBackAsItself) {
    for (uint32_t uVid = 0; uVid <= 124; ++uVid)
        EXPECT_EQ(kCofVid.Volts.Encode(kCofVid.Volts.Decode(uVid), kCofVid.dTolerance), uVid);
    // Requests between two codes find a neighbour: there is no gap in the range.
    for (double dVolts = 0.0; dVolts < 1.55; dVolts += 0.0007) {
        const std::optional<uint32_t> uVid = kCofVid.Volts.Encode(dVolts, kCofVid.dTolerance);
        ASSERT_TRUE(uVid) << dVolts;
        EXPECT_LT(std::abs(kCofVid.Volts.Decode(*uVid) - dVolts), 0.0125 / 2 + 0.0001);
    }
}

TEST(ProcessorVoltages, TheFinerHalfOfFamily0FhIsFoundOneCodeTooHigh) {
    EXPECT_EQ(kFidVid.Volts.Encode(1.35, kFidVid.dTolerance), 8u);
    EXPECT_EQ(kFidVid.Volts.Encode(1.3375, kFidVid.dTolerance), 8u) << "as near to 1.325, which comes later";
    EXPECT_EQ(kFidVid.Volts.Encode(0.775, kFidVid.dTolerance), 31u);
    EXPECT_EQ(kFidVid.Volts.Encode(0.7625, kFidVid.dTolerance), 31u);
    EXPECT_EQ(kFidVid.Volts.Encode(0.5, kFidVid.dTolerance), 52u);
}

}  // namespace
