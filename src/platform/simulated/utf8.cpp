#include "platform/simulated/utf8.h"

#include <cstdint>

namespace vxt::platform::simulated {

std::string Utf8Text(std::wstring_view sText) {
    std::string sUtf8;
    for (const wchar_t c : sText) {
        uint32_t uCode = std::char_traits<wchar_t>::to_int_type(c);
        if (uCode > 0x10FFFF || (uCode >= 0xD800 && uCode < 0xE000)) uCode = 0xFFFD;
        const uint32_t uFollowing = uCode < 0x80 ? 0 : uCode < 0x800 ? 1 : uCode < 0x10000 ? 2 : 3;
        constexpr uint32_t kFirst[] = {0, 0xC0, 0xE0, 0xF0};
        sUtf8 += static_cast<char>(kFirst[uFollowing] | uCode >> 6 * uFollowing);
        for (uint32_t i = uFollowing; i-- > 0;) sUtf8 += static_cast<char>(0x80 | (uCode >> 6 * i & 0x3F));
    }
    return sUtf8;
}

std::wstring WideText(std::string_view sUtf8) {
    std::wstring sWide;
    for (const char c : sUtf8) {
        const auto uByte = static_cast<unsigned char>(c);
        if (uByte < 0x80 || uByte >= 0xC0)
            sWide += static_cast<wchar_t>(uByte < 0x80   ? uByte
                                          : uByte < 0xE0 ? uByte & 0x1F
                                          : uByte < 0xF0 ? uByte & 0xF
                                                         : uByte & 7);
        else if (!sWide.empty())
            sWide.back() = static_cast<wchar_t>(sWide.back() << 6 | (uByte & 0x3F));
    }
    return sWide;
}

}  // namespace vxt::platform::simulated
