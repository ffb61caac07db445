// Texts of fixed length as devices keep them: padded, and not always with what a text may have.
#pragma once

#include <array>
#include <string_view>

#include "devices/framework/clean_text.h"

namespace vxt {

/// A text of at most N characters: printable ASCII without blanks around it.
template <size_t N> class CDeviceText {
public:
    constexpr CDeviceText() = default;
    /// Takes away the padding (blanks and zeros around the text); bytes that are not printable become points.
    constexpr explicit CDeviceText(std::string_view sRaw) {
        using namespace std::string_view_literals;
        m_uSize = g_CleanText(sRaw, " \0"sv, m_achText);
    }

    constexpr std::string_view Get() const { return {m_achText.data(), m_uSize}; }
    constexpr bool IsEmpty() const { return m_uSize == 0; }

private:
    std::array<char, N> m_achText{};
    size_t m_uSize = 0;
};

}  // namespace vxt
