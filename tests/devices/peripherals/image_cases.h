// Images of a device's data, most of them another one with some changes, and what is to be read out of each.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <regex>
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

/// Another program that decodes such images, and what it prints of a key: "key=PATTERN", its first group.
struct CWitness {
    const char *pszProgram, *pszCommand;
    std::vector<std::string> Keys;
    bool bInstalled =
        std::system((std::string("PATH=$PATH:/usr/sbin; command -v >/dev/null ") + pszProgram).c_str()) == 0;

    /// Whatever both tell has to be the same.
    void Compare(const CImage& rImage, const CTokens& rTokens) const {
        if (!bInstalled) return;
        const std::string sFile = testing::TempDir() + "image" + std::to_string(getpid());
        std::ofstream(sFile, std::ios::binary).write(reinterpret_cast<const char*>(rImage.data()), std::ssize(rImage));
        FILE* const pOutput =
            popen(("PATH=$PATH:/usr/sbin; (" + std::string(pszCommand) + ") 2>&1 <" + sFile).c_str(), "r");
        std::string sOutput;
        for (int nByte = 0; (nByte = std::fgetc(pOutput)) != EOF;) sOutput += static_cast<char>(nByte);
        pclose(pOutput);
        std::filesystem::remove(sFile);
        for (const std::string& sKey : Keys) {
            const size_t uPattern = sKey.find('=') + 1;
            const auto pOurs = rTokens.lower_bound(sKey.substr(0, uPattern));
            std::smatch Match;
            if (pOurs == rTokens.end() || !pOurs->starts_with(sKey.substr(0, uPattern)) ||
                !std::regex_search(sOutput, Match, std::regex(sKey.substr(uPattern))))
                continue;
            CTokenList Theirs;
            Theirs.Add(sKey.substr(0, uPattern - 1), Match.str(1));
            EXPECT_EQ(CTokens{*pOurs}, Theirs.Get()) << pszProgram;
        }
    }
};

/// Rows "name | another row or - | size in bytes | OFFSET=VALUE ... | tokens, those that went away from the other row's with a
/// minus". `uUnit`: bytes of an offset's value, low byte first. `Complete` puts right the sums of an image that was changed.
template <class TComplete, class TDescribe>
void g_CheckImages(const std::string& sFile, size_t uUnit, TComplete Complete, TDescribe Describe,
                   const CWitness& rWitness) {
    std::map<std::string, std::pair<CImage, CTokens>> Known;
    for (const std::vector<std::string>& rRow : g_CaseRows(sFile)) {
        SCOPED_TRACE(rRow[0]);
        ASSERT_EQ(rRow.size(), 5u);
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
        EXPECT_EQ(Differences, CTokens(std::istream_iterator<std::string>(Words), {}));
        rWitness.Compare(Image, Now);
        Known[rRow[0]] = {Image, Now};
    }
}

}  // namespace vxttest
