// Texts as devices and the system hand them out: padded, with any content.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

namespace vxt {

/// `sText` without the characters of `sPadding` at its ends.
template <class TChar>
constexpr std::basic_string_view<TChar> g_WithoutPadding(std::basic_string_view<TChar> sText,
                                                         std::type_identity_t<std::basic_string_view<TChar>> sPadding) {
    sText = sText.substr(0, sText.find_last_not_of(sPadding) + 1);
    sText.remove_prefix(std::min(sText.find_first_not_of(sPadding), sText.size()));
    return sText;
}

/// A device's text without its padding, as much as `Text` holds; bytes that are not printable ASCII become points. Returns the
/// number of characters; no terminator is added.
constexpr size_t g_CleanText(std::string_view sRaw, std::string_view sPadding, std::span<char> Text) {
    sRaw = g_WithoutPadding(sRaw, sPadding).substr(0, Text.size());
    std::ranges::transform(sRaw, Text.begin(), [](char ch) { return ch >= ' ' && ch <= '~' ? ch : '.'; });
    return sRaw.size();
}

/// A text that may be none: empty then.
constexpr std::string_view g_TextOf(const char* pszText) { return pszText ? pszText : std::string_view(); }

struct CCodeRange {
    uint32_t uFirst, uLast;
};
/// Of Unicode, what would change the text around it, or is no character: controls, separators of lines, directions, halves of pairs.
inline constexpr CCodeRange kUnshown[] = {{0x0000, 0x001F}, {0x007F, 0x009F},      {0x200B, 0x200F}, {0x2028, 0x202E},
                                          {0x2060, 0x206F}, {0xD800, 0xDFFF},      {0xFEFF, 0xFEFF}, {0xFFF0, 0xFFFB},
                                          {0xFFFE, 0xFFFF}, {0x110000, UINT32_MAX}};

/// How many elements the first character of a text takes; 0: it cannot be shown.
constexpr size_t g_ShownSize(std::wstring_view sText) {
    const auto IsHalf = [](wchar_t ch, uint32_t uFirst) { return (static_cast<uint32_t>(ch) & ~0x3FFu) == uFirst; };
    if (sizeof(wchar_t) == 2 && sText.size() > 1 && IsHalf(sText[0], 0xD800) && IsHalf(sText[1], 0xDC00)) return 2;
    const uint32_t uCode = std::char_traits<wchar_t>::to_int_type(sText[0]);
    return std::ranges::none_of(kUnshown, [&](CCodeRange r) { return r.uFirst <= uCode && uCode <= r.uLast; });
}

}  // namespace vxt
