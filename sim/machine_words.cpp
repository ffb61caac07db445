#include "machine_words.h"

#include <algorithm>
#include <charconv>
#include <string>

namespace vxtsim {

std::string_view g_TrimLeft(std::string_view s) { return s.substr(std::min(s.find_first_not_of(kBlanks), s.size())); }
std::string_view g_Trim(std::string_view s) { return g_TrimLeft(s.substr(0, s.find_last_not_of(kBlanks) + 1)); }

std::string_view g_TakeWord(std::string_view& rsText) {
    rsText = g_TrimLeft(rsText);
    const std::string_view sWord = rsText.substr(0, std::min(rsText.find_first_of(kBlanks), rsText.size()));
    rsText.remove_prefix(sWord.size());
    return sWord;
}

std::optional<uint64_t> g_Hex(std::string_view sWord, size_t uDigits) {
    if (sWord.starts_with("0x") || sWord.starts_with("0X")) sWord.remove_prefix(2);
    if (sWord.empty() || sWord.size() > uDigits) return std::nullopt;
    uint64_t ullValue = 0;
    for (const char c : sWord) {
        const size_t uDigit =
            std::string_view("0123456789abcdef").find(c >= 'A' && c <= 'F' ? static_cast<char>(c + 32) : c);
        if (uDigit == std::string_view::npos) return std::nullopt;
        ullValue = ullValue << 4 | uDigit;
    }
    return ullValue;
}

// Not strtod: it follows the locale.
std::optional<uint64_t> g_Millionths(std::string_view sWord) {
    const size_t uPoint = std::min(sWord.find('.'), sWord.size());
    const std::string_view sWhole = sWord.substr(0, uPoint), sRest = sWord.substr(std::min(uPoint + 1, sWord.size()));
    if (sWhole.empty() || sWhole.size() > 6 || sRest.size() > 6) return std::nullopt;
    std::string sDigits(sWhole);
    sDigits += sRest;
    sDigits.append(6 - sRest.size(), '0');
    uint64_t ullValue = 0;
    for (const char c : sDigits) {
        if (c < '0' || c > '9') return std::nullopt;
        ullValue = ullValue * 10 + static_cast<uint64_t>(c - '0');
    }
    return ullValue;
}

std::optional<int64_t> g_Decimal(std::string_view sWord) {
    int64_t llValue = 0;
    const char* const pszEnd = sWord.data() + sWord.size();
    const auto [pszStop, eError] = std::from_chars(sWord.data(), pszEnd, llValue);
    return eError == std::errc() && pszStop == pszEnd ? std::optional(llValue) : std::nullopt;
}

bool g_IsName(std::string_view sText) {
    constexpr size_t kMaximumName = 64;
    constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_0123456789";
    return !sText.empty() && sText.size() <= kMaximumName && (sText[0] < '0' || sText[0] > '9') &&
           !sText.starts_with("__") && sText.find_first_not_of(kLetters) == std::string_view::npos;
}

}  // namespace vxtsim
