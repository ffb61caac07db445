// Images of a device's data, most of them another one with some changes, and what is to be read out of each.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <sstream>

#include "support/text_cases.h"

namespace vxttest {

using CTokens = std::set<std::string>;
using CImage = std::vector<uint8_t>;

/// "key=value" of each that is told; blanks of the value become underscores.
class CTokenList {
public:
    template <class TValue> void Add(const std::string& sKey, const TValue& rValue) {
        std::ostringstream Text;
        Text.precision(7);
        Text << sKey << '=' << rValue;
        std::string sToken = Text.str();
        std::ranges::replace(sToken, ' ', '_');
        m_Tokens.insert(std::move(sToken));
    }
    template <class TValue> void Add(const std::string& sKey, const std::optional<TValue>& rValue) {
        if (rValue) Add(sKey, +*rValue);
    }
    const CTokens& Get() const { return m_Tokens; }

private:
    CTokens m_Tokens;
};

/// Rows "name | another row or - | size in bytes | OFFSET=VALUE ... | tokens, those that went away from the other row's with a
/// minus". `uUnit`: bytes of an offset's value, low byte first. `Complete` puts right the sums of an image that was changed.
template <class TComplete, class TDescribe>
void g_CheckImages(const std::string& sFile, size_t uUnit, TComplete Complete, TDescribe Describe) {
    std::map<std::string, std::pair<CImage, CTokens>> Known;
    for (const std::vector<std::string>& rRow : g_CaseRows(sFile)) {
        ASSERT_EQ(rRow.size(), 5u) << rRow[0];
        auto [Image, Before] = Known[rRow[1]];
        Image.resize(std::stoul(rRow[2]));
        const std::map<uint32_t, uint64_t> Changes = g_HexPairs(rRow[3]);
        for (const auto& [uOffset, ullValue] : Changes)
            for (size_t i = 0; i < uUnit; ++i) Image.at(uOffset * uUnit + i) = static_cast<uint8_t>(ullValue >> 8 * i);
        Complete(Image, Changes);
        // A block of its own size: the sanitizer sees what is read behind it.
        const std::unique_ptr<uint8_t[]> pBytes(new uint8_t[Image.size()]);
        std::ranges::copy(Image, pBytes.get());
        const CTokens Now = Describe({pBytes.get(), Image.size()});
        CTokens Differences;
        std::ranges::set_difference(Now, Before, std::inserter(Differences, Differences.end()));
        for (const std::string& sToken : Before)
            if (!Now.contains(sToken)) Differences.insert("-" + sToken);
        std::istringstream Words(rRow[4]);
        EXPECT_EQ(Differences, CTokens(std::istream_iterator<std::string>(Words), {})) << rRow[0];
        Known[rRow[0]] = {Image, Now};
    }
}

}  // namespace vxttest
