// What modules say of themselves: images of real ones as another decoder reads them, and what no module should say.
#include <gmock/gmock.h>

#include "devices/memory/spd_text.h"
#include "support/text_cases.h"

namespace {

using namespace vxttest;
using ::testing::HasSubstr;
using CBytes = std::vector<uint8_t>;

/// The images of spd_images.txt by name; the bytes that a line leaves out are zeros.
std::map<std::string, CBytes> g_Images() {
    std::map<std::string, CBytes> Images;
    for (const auto& rRow : g_CaseRows("spd_images.txt")) {
        CBytes& rBytes = Images[rRow.at(0)];
        for (size_t i = 0; i + 1 < rRow.at(1).size(); i += 2)
            rBytes.push_back(static_cast<uint8_t>(std::stoul(rRow[1].substr(i, 2), nullptr, 16)));
        rBytes.resize(256);
    }
    return Images;
}

void g_ExpectFacts(const std::vector<std::string>& rRow, size_t uFirst, const CBytes& rImage) {
    const std::string sText = ' ' + g_SpdText(vxt::g_DecodeSpd(rImage)) + ' ';
    EXPECT_LT(uFirst, rRow.size());
    for (size_t i = uFirst; i < rRow.size(); ++i) EXPECT_THAT(sText, HasSubstr(' ' + rRow[i] + ' ')) << rRow[0];
}

TEST(Spd, RealModulesReadAsAnotherDecoderPrintedThem) {
    const auto Images = g_Images();
    EXPECT_EQ(Images.size(), 9u);
    for (const auto& rRow : g_CaseRows("spd_images.txt")) g_ExpectFacts(rRow, 2, Images.at(rRow[0]));
}

TEST(Spd, OddBytesAreUnknownRatherThanNonsense) {
    const auto Images = g_Images();
    for (const auto& rRow : g_CaseRows("spd_odd.txt")) {
        CBytes Image = Images.at(rRow.at(1));
        for (const auto& [uByte, ullValue] : g_HexPairs(rRow.at(2))) Image.at(uByte) = static_cast<uint8_t>(ullValue);
        Image.resize(std::stoul(rRow.at(3)));
        g_ExpectFacts(rRow, 4, Image);
    }
}

TEST(Spd, ErasedImagesSayNothing) {
    const std::string sNothing = g_SpdText({});
    for (const CBytes& rImage : {CBytes(), CBytes(256, 0xFF), CBytes(256, 0), CBytes(2, 0xFF)})
        EXPECT_EQ(g_SpdText(vxt::g_DecodeSpd(rImage)), sNothing);
}

TEST(Spd, EveryLengthOfAnImageKeepsWhatItHas) {
    for (const auto& [sName, rImage] : g_Images()) {
        const vxt::CSpdRecord Whole = vxt::g_DecodeSpd(rImage);
        for (size_t uSize = 3; uSize < rImage.size(); ++uSize) {
            SCOPED_TRACE(sName + " cut to " + std::to_string(uSize));
            // Of its own size, so that a byte behind the end would be noticed.
            const CBytes Cut(rImage.begin(), rImage.begin() + static_cast<std::ptrdiff_t>(uSize));
            const vxt::CSpdRecord Record = vxt::g_DecodeSpd(Cut);
            EXPECT_EQ(Record.eMemory, Whole.eMemory);
            EXPECT_TRUE(!Record.ouSize || Record.ouSize == Whole.ouSize || Whole.bSizeDoubtful);
            EXPECT_EQ(Record.eVerdict == vxt::ESpdVerdict::kTooShort, !Record.ousStoredSum);
            if (uSize >= 150) { EXPECT_EQ(g_SpdText(Record), g_SpdText(Whole)); }
        }
    }
}

}  // namespace
