#include "perf/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace vxt {

std::optional<double> g_ParseNumber(std::wstring_view sText) {
    constexpr std::wstring_view kBlanks = L" \t\r\n";
    const size_t uFirst = sText.find_first_not_of(kBlanks);
    if (uFirst == sText.npos) return std::nullopt;
    sText = sText.substr(uFirst, sText.find_last_not_of(kBlanks) - uFirst + 1);
    if (sText.starts_with(L'+') && !sText.starts_with(L"+-")) sText.remove_prefix(1);
    char szText[64];  // longer than any number needs
    if (sText.empty() || sText.size() > sizeof szText) return std::nullopt;
    char* const pEnd = std::ranges::transform(sText, szText, [](wchar_t c) {
                           return c > 0 && c < 0x80 ? static_cast<char>(c) : '?';
                       }).out;
    double dNumber = 0.0;
    const auto [pRead, eError] = std::from_chars(szText, pEnd, dNumber);
    if (eError != std::errc() || pRead != pEnd || !std::isfinite(dNumber)) return std::nullopt;
    return dNumber;
}

void g_FormatNumber(double dNumber, std::span<wchar_t, kNumberSize> Text) {
    char szText[kNumberSize - 1];
    const auto Result = std::to_chars(std::begin(szText), std::end(szText), dNumber);
    *std::copy(szText, Result.ptr, Text.begin()) = 0;
}

}  // namespace vxt
